#pragma once

#include <string>
#include <vector>

#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxkapp/SceneManager.h"

namespace webapi {

// Carries out LoadInstances and UnloadInstances for the module. It is
// managed on the module's queue so that the host work it starts completes on
// the actor thread.
class ShapeSceneLoader : public dom::ManagedObject {
public:
    explicit ShapeSceneLoader(const du::SmartPtr<qxkapp::SceneManager>& sceneManager);
    ~ShapeSceneLoader() override;

    void LoadInstances(const du::Symbol& request);
    void UnloadInstances(const du::Symbol& request);

    // The loader reacts to no message.
    void HandleMessage(const dom::MessagePtr& message) override;

private:
    du::SmartPtr<qxkapp::SceneManager> sceneManager;
    [[maybe_unused]] bool inUpdate;  // read once loading arrives
    std::vector<std::string> pendingLists;
};

}  // namespace webapi
