#pragma once

#include "du/RefCounted.h"

namespace qxplugin {

// The application's link to the browser plug-in that hosts the viewer.
class PluginHandlerIf : public virtual du::RefCounted {
public:
    virtual void OnAnnotationsApplied(bool success) = 0;
    virtual void OnSelectionChanged(unsigned int selectionSet) = 0;

protected:
    PluginHandlerIf() = default;
    ~PluginHandlerIf() override = default;
};

}  // namespace qxplugin
