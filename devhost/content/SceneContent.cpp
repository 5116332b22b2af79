#include "devhost/content/SceneContent.h"

#include <map>

#include "devhost/content/WorldContent.h"
#include "devhost/platform/CountedIfAlive.h"
#include "devhost/world/HostChanges.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldLock.h"

namespace devhost {
namespace {

struct SceneExtras final : du::RefCounted {
    const du::SmartPtr<SelectionManager> selection{new SelectionManager};
    std::vector<du::SmartPtr<qxannotations::Label>> labels;
};

struct MarkupExtras final : du::RefCounted {
    std::map<du::Symbol, qxk::GeomOverride::Visibility> visibility;
    std::map<du::Symbol, dg::Color> colors;
    std::vector<MarkupCall> calls;
};

// Under the world lock.
SceneExtras& ExtrasOf(const qxk::Scene& scene) {
    auto& extension = scene.GetSceneState().extension;
    if (!extension) {
        auto* extras = new SceneExtras;
        extension = extras;
        // A scene's selection starts as its world describes it; nobody
        // observes it yet, so this calls no one.
        if (auto content = CurrentContent()) content->ApplyInitialSelection(scene.GetName(), *extras->selection);
    }
    return static_cast<SceneExtras&>(*extension);
}

MarkupExtras& ExtrasOf(const qxk::ShapeInstance& shapeInstance) {
    auto& extension = const_cast<ShapeInstanceImpl&>(Impl(shapeInstance)).extension;
    if (!extension) extension = new MarkupExtras;
    return static_cast<MarkupExtras&>(*extension);
}

}  // namespace

du::SmartPtr<SelectionManager> SelectionOf(const qxk::Scene& scene) {
    WorldGuard guard(WorldMutex());
    return ExtrasOf(scene).selection;
}

bool SetSceneSelection(const std::string& sceneName, unsigned int selectionSet,
                       const std::vector<SelectionItemDesc>& items) {
    du::SmartPtr<qxk::Scene> scene = FindSceneNamed(sceneName);
    if (!scene) return false;
    SelectionOf(*scene)->SetSelection(selectionSet, items);
    return true;
}

void AttachLabel(const qxk::Scene& scene, const du::SmartPtr<qxannotations::Label>& label) {
    WorldGuard guard(WorldMutex());
    ExtrasOf(scene).labels.push_back(label);
    NoteHostChange({HostChange::Kind::Labels, CountedIfAlive(const_cast<qxk::Scene*>(&scene))});
}

std::vector<du::SmartPtr<qxannotations::Label>> LabelsOf(const qxk::Scene& scene) {
    WorldGuard guard(WorldMutex());
    return ExtrasOf(scene).labels;
}

void SetMarkupVisibility(const qxk::ShapeInstance& shapeInstance, const du::Symbol& markupId,
                         qxk::GeomOverride::Visibility visibility) {
    WorldGuard guard(WorldMutex());
    ExtrasOf(shapeInstance).visibility[markupId] = visibility;
}

qxk::GeomOverride::Visibility GetMarkupVisibility(const qxk::ShapeInstance& shapeInstance, const du::Symbol& markupId) {
    WorldGuard guard(WorldMutex());
    const auto& visibility = ExtrasOf(shapeInstance).visibility;
    auto found = visibility.find(markupId);
    return found == visibility.end() ? qxk::GeomOverride::shown : found->second;
}

void RecordMarkupCall(const qxk::ShapeInstance& shapeInstance, const MarkupCall& call) {
    WorldGuard guard(WorldMutex());
    ExtrasOf(shapeInstance).calls.push_back(call);
}

std::vector<MarkupCall> MarkupCallsOf(const qxk::ShapeInstance& shapeInstance) {
    WorldGuard guard(WorldMutex());
    return ExtrasOf(shapeInstance).calls;
}

void SetMarkupColor(const qxk::ShapeInstance& shapeInstance, const du::Symbol& markupId, const dg::Color& color) {
    WorldGuard guard(WorldMutex());
    ExtrasOf(shapeInstance).colors[markupId] = color;
}

bool GetMarkupColor(const qxk::ShapeInstance& shapeInstance, const du::Symbol& markupId, dg::Color& color) {
    WorldGuard guard(WorldMutex());
    const auto& colors = ExtrasOf(shapeInstance).colors;
    auto found = colors.find(markupId);
    if (found == colors.end()) return false;
    color = found->second;
    return true;
}

}  // namespace devhost
