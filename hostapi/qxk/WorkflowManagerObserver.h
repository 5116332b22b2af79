#pragma once

#include "du/RefCounted.h"
#include "du/Symbol.h"

namespace qxk {

// Told of every message that a workflow manager sends to its workflows.
class WorkflowManagerObserver : public virtual du::RefCounted {
public:
    virtual void OnWorkflowMessage(const du::Symbol& workflow, const du::Symbol& message, int value);

protected:
    WorkflowManagerObserver() = default;
    ~WorkflowManagerObserver() override = default;
};

inline void WorkflowManagerObserver::OnWorkflowMessage(const du::Symbol&, const du::Symbol&, int) {}

}  // namespace qxk
