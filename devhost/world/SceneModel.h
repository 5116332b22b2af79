#pragma once

#include <functional>
#include <vector>

#include "devhost/world/PlacePool.h"
#include "devhost/world/ShapeTable.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/Instance.h"
#include "qxk/Observable.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeScene.h"
#include "qxk/View.h"

namespace devhost {

using SceneListener = std::function<void(const std::vector<du::SmartPtr<qxk::Instance>>& changed)>;

}  // namespace devhost

// The host's record of an observable. Guarded by the world lock.
struct qxk::Observable::State {
    int depth = 0;
    std::vector<du::SmartPtr<qxk::Instance>> changed;  // since the last notification
    std::vector<std::pair<int, devhost::SceneListener>> listeners;
    int nextListener = 1;
    unsigned int groupsBegun = 0;
    unsigned int groupsEnded = 0;
    unsigned int notifications = 0;
};

namespace devhost {

class ShapeInstanceImpl;

struct AddShapeCall {
    du::SmartPtr<qxk::Instance> instance;
    int mode;
};

}  // namespace devhost

// The host's record of a scene. Guarded by the world lock.
struct qxk::Scene::State {
    du::Symbol name;
    std::vector<du::SmartPtr<qxk::View>> views;
    devhost::ShapeTable shapes;
    std::vector<devhost::AddShapeCall> addCalls;
    du::SmartPtr<du::RefCounted> extension;  // state that other host parts attach
};

namespace devhost {

struct ColorCall {
    dg::Color color;
    bool temporary;
    bool redraw;
};

// A shape instance of the devhost. Guarded by the world lock.
class ShapeInstanceImpl : public qxk::ShapeInstance {
public:
    ShapeInstanceImpl(const du::SmartPtr<qxk::Instance>& instance, qxk::ShapeScene* scene, bool visible)
        : instance(instance), scene(scene), visible(visible) {}

    static void* operator new(std::size_t size) { return ShapeInstancePlaces().Allocate(size); }
    static void operator delete(void* memory) noexcept { ShapeInstancePlaces().Free(memory); }

    const du::SmartPtr<qxk::Instance> instance;
    qxk::ShapeScene* scene;  // null once the scene has gone
    bool visible;
    // Set by a colour of its own (painting, a world file's colour); the
    // viewer shows the shape's own colour while it is false.
    bool painted = false;
    dg::Color color;
    std::vector<ColorCall> colorCalls;
    du::SmartPtr<du::RefCounted> extension;  // state that other host parts attach
};

static_assert(sizeof(ShapeInstanceImpl) <= PlacePool::kPlace, "a shape instance fits its place");

inline ShapeInstanceImpl& Impl(qxk::ShapeInstance& shape) { return static_cast<ShapeInstanceImpl&>(shape); }
inline const ShapeInstanceImpl& Impl(const qxk::ShapeInstance& shape) {
    return static_cast<const ShapeInstanceImpl&>(shape);
}

du::SmartPtr<qxk::ShapeScene> MakeShapeScene(const du::Symbol& name);
// A shape scene of a 3D illustration (a qxk::illustration::Illustration3dScene).
du::SmartPtr<qxk::ShapeScene> MakeIllustration3dScene(const du::Symbol& name);
// A scene that is not a shape scene.
du::SmartPtr<qxk::Scene> MakePlainScene(const du::Symbol& name);

// Records a change of an instance's shape in an observable; under the lock.
void NoteChange(qxk::Observable& observable, const du::SmartPtr<qxk::Instance>& instance);
// Tells the listeners of what changed, unless an update group is open.
void FlushChanges(qxk::Observable& observable);

int AddSceneListener(qxk::Observable& observable, SceneListener listener);
void RemoveSceneListener(qxk::Observable& observable, int id);

// Shows or hides the shape instance of an instance, making it if needed.
bool SetShapeVisible(qxk::ShapeScene& scene, const du::SmartPtr<qxk::Instance>& instance, bool visible);
// Takes back what painting did: the shape's own colour shows again.
void RestoreOwnColor(qxk::ShapeInstance& shape);
// The shape instance of an instance in a scene, or null.
du::SmartPtr<ShapeInstanceImpl> FindShape(const qxk::ShapeScene& scene, const qxk::Instance* instance);

}  // namespace devhost
