#pragma once

#include <string>
#include <vector>

#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/Instance.h"
#include "qxk/ShapeScene.h"
#include "qxkapp/SceneManager.h"

namespace webapi {

// Carries out LoadInstances and UnloadInstances for the module: shows or
// hides the instances that a request names by idpath in the active shape
// scene. A request is a list of idpaths in brackets, or a message that opens
// ("update begin") or closes ("update end") a group of lists. The loader is
// managed on the module's queue so that the progress events it starts
// complete on the actor thread.
class ShapeSceneLoader : public dom::ManagedObject {
public:
    explicit ShapeSceneLoader(const du::SmartPtr<qxkapp::SceneManager>& sceneManager);
    ~ShapeSceneLoader() override;

    void LoadInstances(const du::Symbol& request);
    void UnloadInstances(const du::Symbol& request);

    // The loader reacts to no message.
    void HandleMessage(const dom::MessagePtr& message) override;

private:
    void TakeRequest(const du::Symbol& request, bool load);
    void ApplyPending(bool load);

    du::SmartPtr<qxk::ShapeScene> GetActiveShapeScene() const;
    void ParseInstanceLists(const std::vector<std::string>& lists,
                            std::vector<du::SmartPtr<qxk::Instance>>& instances) const;
    void ApplyInstances(const std::vector<du::SmartPtr<qxk::Instance>>& instances, bool load,
                        const du::SmartPtr<qxk::ShapeScene>& scene);
    void StartLoadProgress(const du::SmartPtr<qxk::ShapeScene>& scene);

    du::SmartPtr<qxkapp::SceneManager> sceneManager;
    bool inUpdate;  // between a begin and an end message
    // Every list collected and not yet cleared, shared by load and unload:
    // only a begin or end message clears it, so a list outside a group
    // applies all earlier ones again, through whichever method it came.
    std::vector<std::string> pendingLists;
};

}  // namespace webapi
