#pragma once

#include <mutex>
#include <vector>

#include "qxplugin/PluginHandlerIf.h"

namespace devhost {

// The application's plug-in link. It has no browser behind it, so it keeps
// what it is told for inspection.
class PluginHandler final : public qxplugin::PluginHandlerIf {
public:
    void OnAnnotationsApplied(bool success) override;
    void OnSelectionChanged(unsigned int selectionSet) override;

    std::vector<bool> AnnotationsApplied() const;
    std::vector<unsigned int> SelectionChanges() const;

private:
    mutable std::mutex mutex_;
    std::vector<bool> annotationsApplied_;
    std::vector<unsigned int> selectionChanges_;
};

}  // namespace devhost
