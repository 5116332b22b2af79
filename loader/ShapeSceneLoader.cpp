#include "loader/ShapeSceneLoader.h"

#include "du/StringUtil.h"
#include "qxk/Scene.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeView.h"
#include "qxk/View.h"
#include "tree/FlyToAll.h"
#include "tree/NodeAddressing.h"
#include "tree/ProgressEvents.h"
#include "tree/TextCut.h"

namespace webapi {

ShapeSceneLoader::ShapeSceneLoader(const du::SmartPtr<qxkapp::SceneManager>& sceneManager)
    : sceneManager(sceneManager), inUpdate(false) {}

ShapeSceneLoader::~ShapeSceneLoader() = default;

void ShapeSceneLoader::HandleMessage(const dom::MessagePtr&) {}

void ShapeSceneLoader::LoadInstances(const du::Symbol& request) { TakeRequest(request, true); }

void ShapeSceneLoader::UnloadInstances(const du::Symbol& request) { TakeRequest(request, false); }

// The text is not JSON: it is classified by the brackets and the words
// "update", "begin" and "end" that it holds. Brackets make a list, whatever
// else the text says.
void ShapeSceneLoader::TakeRequest(const du::Symbol& request, bool load) {
    const std::string text = request.safe_c_str();
    if (text.rfind('[') != std::string::npos && text.rfind(']') != std::string::npos) {
        pendingLists.push_back(text);
        if (!inUpdate) ApplyPending(load);
        return;
    }
    if (text.rfind("update") == std::string::npos) return;
    if (text.rfind("begin") != std::string::npos) {
        // Also inside a group: what it collected is dropped.
        pendingLists.clear();
        inUpdate = true;
    } else if (text.rfind("end") != std::string::npos) {
        // Also with no group open, which applies what earlier single lists
        // left behind.
        ApplyPending(load);
        pendingLists.clear();
        inUpdate = false;
    }
}

// The number of shape instances is read when the lists are applied, so a
// group counts at its end.
void ShapeSceneLoader::ApplyPending(bool load) {
    std::vector<du::SmartPtr<qxk::Instance>> instances;
    ParseInstanceLists(pendingLists, instances);
    if (instances.empty()) return;
    const du::SmartPtr<qxk::ShapeScene> scene = GetActiveShapeScene();
    if (!scene) return;
    unsigned int shapeInstances = 0;
    if (load) scene->GetNumShapeInstances(shapeInstances);
    ApplyInstances(instances, load, scene);
    // The first content of an empty scene: show all of it.
    if (load && shapeInstances == 0) FlyToAll(scene);
}

// Asks the view for its scene before asking its kind, where the module's own
// GetActiveShapeScene asks the kind first; each keeps its order of host calls.
du::SmartPtr<qxk::ShapeScene> ShapeSceneLoader::GetActiveShapeScene() const {
    if (!sceneManager) return nullptr;
    const du::SmartPtr<qxk::View> view = sceneManager->GetActiveView();
    if (!view) return nullptr;
    du::SmartPtr<qxk::Scene> scene;
    view->GetScene(scene);
    if (!view->IsATypeOf(qxk::ShapeView::CLASS_TYPE) || !scene) return nullptr;
    return du::DynamicCast<qxk::ShapeScene>(scene);
}

// Each list is the text between its last "[" and its last "]", split at
// commas. Each token loses its first and last character, taken to be its
// quotes unseen: a blank behind a comma thus leaves a name the tree does not
// know. A "]" ahead of the "[" takes the text to its end.
void ShapeSceneLoader::ParseInstanceLists(const std::vector<std::string>& lists,
                                          std::vector<du::SmartPtr<qxk::Instance>>& instances) const {
    for (const std::string& list : lists) {
        const std::size_t open = list.rfind('[');
        const std::size_t close = list.rfind(']');
        std::vector<std::string> tokens;
        du::StringSplit(CutBetween(list, open, close), tokens, ",");
        for (const std::string& token : tokens) {
            // The split gives no empty token, so the position is always valid.
            const du::Symbol path(token.substr(1, token.size() - 2).c_str());
            if (du::SmartPtr<qxk::Instance> instance = FindInstanceAtPath(path)) instances.push_back(instance);
        }
    }
}

// Loading calls AddShapeInstance also for an instance that has a shape
// instance already, where the tree watcher's ShowInstanceBranch adds one
// only where none exists; unloading only hides, and removes nothing.
void ShapeSceneLoader::ApplyInstances(const std::vector<du::SmartPtr<qxk::Instance>>& instances, bool load,
                                      const du::SmartPtr<qxk::ShapeScene>& scene) {
    if (scene) {
        scene->BeginUpdateGroup();
        for (const du::SmartPtr<qxk::Instance>& instance : instances) {
            du::SmartPtr<qxk::ShapeInstance> shapeInstance;
            if (scene->GetShapeInstance(du::ConstSmartPtr<qxk::Instance>(instance), shapeInstance))
                shapeInstance->SetVisibility(load, false);
            if (load) scene->AddShapeInstance(instance, qxk::ShapeScene::AM_VisibleFetch);
        }
        scene->EndUpdateGroup();
    }
    StartLoadProgress(scene);
}

// Over a shape view only, unlike the tree watcher's display.
void ShapeSceneLoader::StartLoadProgress(const du::SmartPtr<qxk::ShapeScene>& scene) {
    ::StartShapeViewLoadProgress(scene, *this);
}

}  // namespace webapi
