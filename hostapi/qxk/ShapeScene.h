#pragma once

#include <set>

#include "du/SmartPtr.h"
#include "qxk/Scene.h"

namespace qxk {

class Instance;
class ShapeInstance;

// A scene of 3D shapes: one shape instance for each instance shown.
class ShapeScene : public Scene {
public:
    static constexpr ClassType CLASS_TYPE{0x06};

    // How AddShapeInstance treats the new shape instance.
    enum AddMode {
        AM_Hidden = 0,       // added hidden
        AM_Visible = 1,      // added visible
        AM_VisibleFetch = 2  // added visible, its geometry read in the background
    };

    void GetNumShapeInstances(unsigned int& count) const;
    // True, with the shape instance, when the instance has one in this scene.
    bool GetShapeInstance(const du::ConstSmartPtr<Instance>& instance,
                          du::SmartPtr<ShapeInstance>& shapeInstance) const;
    // Gives the instance a shape instance in this scene, or the one it has.
    virtual du::SmartPtr<ShapeInstance> AddShapeInstance(const du::SmartPtr<Instance>& instance, int mode);
    // Every instance that has a shape instance in this scene.
    void GetAllInstances(std::set<du::SmartPtr<Instance>>& instances) const;

protected:
    explicit ShapeScene(const du::Symbol& name);
    ~ShapeScene() override;
    bool IsOfClass(unsigned int number) const override {
        return number == CLASS_TYPE.GetNumber() || Scene::IsOfClass(number);
    }
};

}  // namespace qxk
