#pragma once

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/Object.h"
#include "qxk/Observable.h"

namespace qxk {

class View;
class SelectionManager;

// What is shown of the world in one or more views.
class Scene : public Object, public Observable {
public:
    static constexpr ClassType CLASS_TYPE{0x05};

    // The view of that number, or null.
    du::SmartPtr<View> GetView(unsigned int index);
    unsigned int GetNumViews() const;
    du::Symbol GetName() const;
    void GetSelectionManager(du::SmartPtr<SelectionManager>& manager) const;

    struct State;  // the host's record of the scene
    State& GetSceneState() const { return *sceneState_; }

protected:
    explicit Scene(const du::Symbol& name);
    ~Scene() override;
    bool IsOfClass(unsigned int number) const override {
        return number == CLASS_TYPE.GetNumber() || Object::IsOfClass(number);
    }

private:
    State* sceneState_;
};

}  // namespace qxk
