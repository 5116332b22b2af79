#include "commands/ActiveView.h"

#include "du/Symbol.h"
#include "qxk/WorkflowManager.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"

namespace webapi {

du::SmartPtr<qxk::View> ApplicationActiveView() {
    return qxkapp::QxkApp::Get()->GetSceneManager()->GetActiveView();
}

void SendViewWorkflowMessage(const qxk::View& view, const char* workflow, const char* message, int value,
                             const du::SmartPtr<du::RefCounted>& data) {
    du::SmartPtr<qxk::WorkflowManager> manager;
    view.GetWorkflowManager(manager);
    if (manager) manager->SendWorkflowMessage(du::Symbol(workflow), du::Symbol(message), value, data);
}

}  // namespace webapi
