#pragma once

#include "du/SmartPtr.h"
#include "qxk/Object.h"

namespace qxk {

class Scene;
class WorkflowManager;

// A view of a scene in a window. Views of kinds without a class of their own
// here carry their class number, which IsATypeOf answers for.
class View : public Object {
public:
    static constexpr ClassType CLASS_TYPE{0x10};

    // Codes of ZoomView.
    enum ZoomCode { ZC_In = 0, ZC_Out = 1, ZC_Selected = 2, ZC_Reset = 3, ZC_All = 4 };

    void GetScene(du::SmartPtr<Scene>& scene) const;
    void GetWorkflowManager(du::SmartPtr<WorkflowManager>& manager) const;
    unsigned int GetClassNumber() const;
    virtual void ZoomView(int code);

    struct State;  // the host's record of the view
    State& GetViewState() const { return *viewState_; }

protected:
    explicit View(unsigned int classNumber);
    ~View() override;
    bool IsOfClass(unsigned int number) const override;

private:
    State* viewState_;
};

}  // namespace qxk
