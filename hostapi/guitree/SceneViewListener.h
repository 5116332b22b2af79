#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace qxk {
class Scene;
class View;
}  // namespace qxk

namespace guitree {

// Handed by a GuiTree to its GuiInterface: the interface tells the tree
// which scene and view it shows, and the tree takes the visibility of its
// nodes from that scene.
class SceneViewListener : public virtual du::RefCounted {
public:
    virtual void OnView(const du::SmartPtr<qxk::View>& view) = 0;
    virtual void OnViewClosed(const du::SmartPtr<qxk::View>& view) = 0;
    virtual void OnScene(const du::SmartPtr<qxk::Scene>& scene) = 0;

protected:
    SceneViewListener() = default;
    ~SceneViewListener() override = default;
};

}  // namespace guitree
