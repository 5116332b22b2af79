#pragma once

#include "dom/ManagedObject.h"
#include "qxk/WorkflowManagerObserver.h"
#include "qxkapp/ViewerWorkflowManagerObserver.h"

namespace qxkapp {

// The application's observer of a view's workflows; keeps the viewer's
// tool state in step with the messages the workflows get.
class ViewerWorkflowManagerObserverImpl : public ViewerWorkflowManagerObserver,
                                          public qxk::WorkflowManagerObserver,
                                          public virtual dom::ManagedObject {
public:
    ViewerWorkflowManagerObserverImpl();
    ~ViewerWorkflowManagerObserverImpl() override;

    void OnViewerWorkflowMessage(const du::SmartPtr<qxk::View>& view, const du::Symbol& workflow,
                                 const du::Symbol& message) override;
    void OnWorkflowMessage(const du::Symbol& workflow, const du::Symbol& message, int value) override;
};

}  // namespace qxkapp
