#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxkapp {
class ViewerWorkflowManagerObserver;
}

namespace qxk {

class WorkflowManagerObserver;

// The workflows of one view, which act on named messages.
class WorkflowManager : public virtual du::RefCounted {
public:
    // Sends a message to the named workflow, with a number and the
    // workflow's own data, which may be null.
    virtual void SendWorkflowMessage(const du::Symbol& workflow, const du::Symbol& message, int value,
                                     const du::SmartPtr<du::RefCounted>& data);
    virtual void AddViewerObserver(const du::SmartPtr<qxkapp::ViewerWorkflowManagerObserver>& observer);
    virtual void AddWorkflowObserver(const du::SmartPtr<WorkflowManagerObserver>& observer);

protected:
    WorkflowManager() = default;
    ~WorkflowManager() override = default;
};

}  // namespace qxk
