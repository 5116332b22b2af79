#include "loader/ShapeSceneLoader.h"

namespace webapi {

ShapeSceneLoader::ShapeSceneLoader(const du::SmartPtr<qxkapp::SceneManager>& sceneManager)
    : sceneManager(sceneManager), inUpdate(false) {}

ShapeSceneLoader::~ShapeSceneLoader() = default;

void ShapeSceneLoader::HandleMessage(const dom::MessagePtr&) {}

// Loading and unloading come with the scene-loading work; until then a
// request changes nothing.
void ShapeSceneLoader::LoadInstances(const du::Symbol&) {}

void ShapeSceneLoader::UnloadInstances(const du::Symbol&) {}

}  // namespace webapi
