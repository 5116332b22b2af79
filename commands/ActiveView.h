#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "qxk/View.h"

namespace webapi {

// The application's active view, or null. The application and its scene
// manager exist for as long as a module is loaded, so neither is tested.
du::SmartPtr<qxk::View> ApplicationActiveView();

// Sends a message to a workflow of the view; nothing when the view has no
// workflow manager.
void SendViewWorkflowMessage(const qxk::View& view, const char* workflow, const char* message, int value,
                             const du::SmartPtr<du::RefCounted>& data);

}  // namespace webapi
