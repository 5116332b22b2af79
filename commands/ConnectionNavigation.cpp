// Graphical navigation of connections: messages to the active view's
// "graphicalnav" workflow, which keeps all the navigation state. Whether a
// view has that workflow is its workflow manager's matter, so the view's
// kind is not tested.
#include "commands/ActiveView.h"
#include "commands/WebApiModuleImpl.h"

namespace webapi {
namespace {

void Navigate(const char* message) {
    if (const du::SmartPtr<qxk::View> view = ApplicationActiveView())
        SendViewWorkflowMessage(*view, "graphicalnav", message, 0, nullptr);
}

}  // namespace

void WebApiModuleImpl::ToggleConnectionPath() { Navigate("direction"); }

void WebApiModuleImpl::NavigateConnection() { Navigate("navigate_connection"); }

void WebApiModuleImpl::ReverseNavigateConection() { Navigate("reverse_direction"); }

}  // namespace webapi
