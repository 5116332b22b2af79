#pragma once

#include <cstddef>

#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"
#include "qxk/Selection.h"

namespace qxplugin {
class PluginHandlerIf;
}

namespace qxkapp {

// Passes selection changes of a scene on to the plug-in link. With
// includeEmpty false a change that leaves the selection empty is not passed on.
class PSBSelectionObserver : public qxk::SelectionObserver, public virtual dom::ManagedObject {
public:
    PSBSelectionObserver(const du::SmartPtr<qxplugin::PluginHandlerIf>& plugin, bool includeEmpty);
    ~PSBSelectionObserver() override;

    void OnSelectionChanged(unsigned int selectionSet, std::size_t itemCount) const override;

    const du::SmartPtr<qxplugin::PluginHandlerIf>& GetPlugin() const { return plugin_; }
    bool IncludesEmpty() const { return includeEmpty_; }

private:
    const du::SmartPtr<qxplugin::PluginHandlerIf> plugin_;
    const bool includeEmpty_;
};

}  // namespace qxkapp
