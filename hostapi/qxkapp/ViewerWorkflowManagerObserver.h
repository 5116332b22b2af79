#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxk {
class View;
}

namespace qxkapp {

// Told, with the view, of every message that the workflows of a view get.
class ViewerWorkflowManagerObserver : public virtual du::RefCounted {
public:
    virtual void OnViewerWorkflowMessage(const du::SmartPtr<qxk::View>& view, const du::Symbol& workflow,
                                         const du::Symbol& message);

protected:
    ViewerWorkflowManagerObserver() = default;
    ~ViewerWorkflowManagerObserver() override = default;
};

inline void ViewerWorkflowManagerObserver::OnViewerWorkflowMessage(const du::SmartPtr<qxk::View>&,
                                                                   const du::Symbol&, const du::Symbol&) {}

}  // namespace qxkapp
