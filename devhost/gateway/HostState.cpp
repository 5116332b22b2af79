#include "devhost/gateway/HostState.h"

#include <cstdio>
#include <typeinfo>

#include "basicnav/ShapeViewFlyToData.h"
#include "devhost/content/InstanceContent.h"
#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/world/Application.h"
#include "devhost/world/InstanceNode.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldLock.h"
#include "devhost/world/WorldModel.h"

namespace devhost::gateway {

namespace {

Json Text(const std::string& text, JsonAllocator& allocator) {
    return Json(text.c_str(), static_cast<rapidjson::SizeType>(text.size()), allocator);
}

Json Text(const du::Symbol& text, JsonAllocator& allocator) {
    return text.IsNull() ? Json(rapidjson::kNullType) : Text(text.str(), allocator);
}

// Colours as the module writes them: 0x and eight hexadecimal digits.
Json ColorText(const dg::Color& color, JsonAllocator& allocator) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", color.GetAsHex());
    return Text(std::string(text), allocator);
}

std::string ViewName(const du::SmartPtr<qxk::View>& view) {
    return view ? view->GetViewState().name.str() : std::string();
}

std::string SceneName(const du::SmartPtr<qxk::Scene>& scene) {
    return scene ? scene->GetSceneState().name.str() : std::string();
}

std::string IdPathOf(const qxk::Instance* instance) {
    const auto* node = dynamic_cast<const InstanceNode*>(instance);
    return node ? node->IdPath() : std::string();
}

// Workflow data is the workflow's own object; the fly-to data is shown by
// its fields, any other by its class.
Json WorkflowData(const du::SmartPtr<du::RefCounted>& data, JsonAllocator& allocator) {
    if (!data) return Json(rapidjson::kNullType);
    Json out(rapidjson::kObjectType);
    if (const auto* fly = dynamic_cast<const basicnav::ShapeViewFlyToData*>(data.get())) {
        out.AddMember("class", "basicnav::ShapeViewFlyToData", allocator);
        out.AddMember("flyFlags", fly->flyFlags, allocator);
        out.AddMember("fitFlags", fly->fitFlags, allocator);
        out.AddMember("duration", fly->duration, allocator);
        out.AddMember("viewport", fly->viewport, allocator);
        out.AddMember("instances", !!fly->instances, allocator);
    } else {
        const du::RefCounted& object = *data;
        out.AddMember("class", Text(std::string(typeid(object).name()), allocator), allocator);
    }
    return out;
}

Json IntList(const std::vector<int>& values, JsonAllocator& allocator) {
    Json list(rapidjson::kArrayType);
    for (int value : values) list.PushBack(value, allocator);
    return list;
}

void WriteActiveView(Json& out, JsonAllocator& allocator, const StateLimits&) {
    auto manager = CurrentSceneManager();
    du::SmartPtr<qxk::View> active;
    if (manager) {
        WorldGuard guard(WorldMutex());
        active = manager->active;
    }
    out = ViewNameJson(active, allocator);
}

void WriteViews(Json& out, JsonAllocator& allocator, const StateLimits&) {
    out.SetArray();
    auto manager = CurrentSceneManager();
    if (!manager) return;
    WorldGuard guard(WorldMutex());
    for (const auto& view : manager->views) {
        const qxk::View::State& state = view->GetViewState();
        Json entry(rapidjson::kObjectType);
        entry.AddMember("name", Text(state.name, allocator), allocator);
        entry.AddMember("class", state.classNumber, allocator);
        entry.AddMember("scene", Text(SceneName(state.scene), allocator), allocator);
        entry.AddMember("active", view == manager->active, allocator);
        entry.AddMember("zoomCodes", IntList(state.zoomCodes, allocator), allocator);
        entry.AddMember("viewCommands", IntList(state.viewCommands, allocator), allocator);
        Json messages(rapidjson::kArrayType);
        if (state.workflows) {
            for (const WorkflowMessage& message : state.workflows->messages)
                messages.PushBack(WorkflowMessageJson(message, allocator), allocator);
        }
        entry.AddMember("workflowMessages", messages, allocator);
        entry.AddMember("viewerObservers",
                        static_cast<unsigned>(state.workflows ? state.workflows->viewerObservers.size() : 0), allocator);
        entry.AddMember("workflowObservers",
                        static_cast<unsigned>(state.workflows ? state.workflows->workflowObservers.size() : 0),
                        allocator);
        out.PushBack(entry, allocator);
    }
}

void WriteScenes(Json& out, JsonAllocator& allocator, const StateLimits& limits) {
    out.SetArray();
    auto manager = CurrentSceneManager();
    if (!manager) return;
    std::vector<du::SmartPtr<qxk::Scene>> scenes;
    {
        WorldGuard guard(WorldMutex());
        scenes = manager->scenes;
    }
    for (const auto& scene : scenes) {
        Json entry(rapidjson::kObjectType);
        Json shapes(rapidjson::kArrayType), calls(rapidjson::kArrayType);
        {
            WorldGuard guard(WorldMutex());
            const qxk::Scene::State& state = scene->GetSceneState();
            entry.AddMember("name", Text(state.name, allocator), allocator);
            entry.AddMember("shapeScene", dynamic_cast<qxk::ShapeScene*>(scene.get()) != nullptr, allocator);
            entry.AddMember("shapeCount", static_cast<std::uint64_t>(state.shapes.size()), allocator);
            for (const auto& [instance, shape] : state.shapes) {
                if (shapes.Size() >= limits.shapes) break;
                shapes.PushBack(ShapeJson(*shape, allocator), allocator);
            }
            for (const AddShapeCall& call : state.addCalls) {
                Json item(rapidjson::kObjectType);
                item.AddMember("idpath", Text(IdPathOf(call.instance.get()), allocator), allocator);
                item.AddMember("mode", call.mode, allocator);
                calls.PushBack(item, allocator);
            }
        }
        entry.AddMember("shapes", shapes, allocator);
        entry.AddMember("addShapeCalls", calls, allocator);
        entry.AddMember("labels", LabelsJson(*scene, allocator), allocator);
        entry.AddMember("selection", SelectionJson(*scene, allocator), allocator);
        du::SmartPtr<SelectionManager> selection = SelectionOf(*scene);
        entry.AddMember("selectionObservers", static_cast<std::uint64_t>(selection ? selection->ObserverCount() : 0),
                        allocator);
        out.PushBack(entry, allocator);
    }
}

// Markups that differ from how a shape shows them by default (shown, with
// no colour of their own), per shape instance; a large world's thousands
// of untouched markups stay out.
void WriteMarkups(Json& out, JsonAllocator& allocator, const StateLimits&) {
    out.SetArray();
    auto manager = CurrentSceneManager();
    if (!manager) return;
    struct Placed {
        std::string scene;
        du::SmartPtr<ShapeInstanceImpl> shape;
    };
    std::vector<Placed> placed;
    {
        WorldGuard guard(WorldMutex());
        for (const auto& scene : manager->scenes)
            for (const auto& [instance, shape] : scene->GetSceneState().shapes)
                placed.push_back({scene->GetSceneState().name.str(), shape});
    }
    for (const Placed& each : placed) {
        if (!each.shape->instance) continue;
        du::SmartPtr<Shape> shape = GetInstanceContent(*each.shape->instance).shape;
        if (!shape) continue;
        for (const du::Symbol& id : shape->GetMarkupIds()) {
            const bool hidden = GetMarkupVisibility(*each.shape, id) == qxk::GeomOverride::hidden;
            dg::Color color;
            const bool colored = GetMarkupColor(*each.shape, id, color);
            if (!hidden && !colored) continue;
            Json item(rapidjson::kObjectType);
            item.AddMember("scene", Text(each.scene, allocator), allocator);
            item.AddMember("idpath", Text(IdPathOf(each.shape->instance.get()), allocator), allocator);
            item.AddMember("id", Text(id, allocator), allocator);
            item.AddMember("visible", !hidden, allocator);
            item.AddMember("color", colored ? ColorText(color, allocator) : Json(rapidjson::kNullType), allocator);
            out.PushBack(item, allocator);
        }
    }
}

void WriteModuleCalls(Json& out, JsonAllocator& allocator, const StateLimits&) {
    out.SetArray();
    auto content = CurrentContent();
    if (!content) return;
    for (const ModuleCall& call : content->ModuleCalls()->Calls()) out.PushBack(ModuleCallJson(call, allocator), allocator);
}

void WriteProgress(Json& out, JsonAllocator& allocator, const StateLimits&) {
    out.SetArray();
    for (const ProgressDisplay& display : ProgressDisplays()) out.PushBack(ProgressJson(display, allocator), allocator);
}

void WriteAppliedSets(Json& out, JsonAllocator& allocator, const StateLimits&) {
    out.SetArray();
    auto content = CurrentContent();
    if (!content) return;
    for (const WorldContent::AppliedSet& applied : content->AppliedSets())
        out.PushBack(AppliedSetJson(applied, allocator), allocator);
}

// What the application's plug-in link was told, in order.
void WritePluginLink(Json& out, JsonAllocator& allocator, const StateLimits&) {
    out.SetObject();
    Json applied(rapidjson::kArrayType), selections(rapidjson::kArrayType);
    if (auto content = CurrentContent()) {
        for (bool success : content->GetPlugin()->AnnotationsApplied()) {
            Json item(rapidjson::kObjectType);
            item.AddMember("success", success, allocator);
            applied.PushBack(item, allocator);
        }
        for (unsigned int set : content->GetPlugin()->SelectionChanges()) {
            Json item(rapidjson::kObjectType);
            item.AddMember("selectionSet", set, allocator);
            selections.PushBack(item, allocator);
        }
    }
    out.AddMember("OnAnnotationsApplied", applied, allocator);
    out.AddMember("OnSelectionChanged", selections, allocator);
}

void WriteCrossSelection(Json& out, JsonAllocator& allocator, const StateLimits&) {
    const CrossSelectionRecord record = CrossSelection();
    out.SetObject();
    out.AddMember("on", record.on, allocator);
    out.AddMember("lead", ViewNameJson(record.lead, allocator), allocator);
    out.AddMember("enables", record.enables, allocator);
    out.AddMember("disables", record.disables, allocator);
}

const char* FetchModeName(FetchMode mode) {
    switch (mode) {
    case FetchMode::Deliver: return "deliver";
    case FetchMode::Fail: return "fail";
    case FetchMode::Never: return "never";
    case FetchMode::Held: return "held";
    }
    return "";
}

void WritePending(Json& out, JsonAllocator& allocator, const StateLimits&) {
    out.SetObject();
    Json expansions(rapidjson::kArrayType), fetches(rapidjson::kArrayType), applies(rapidjson::kArrayType);
    for (const std::string& path : PendingExpansions()) expansions.PushBack(Text(path, allocator), allocator);
    if (auto content = CurrentContent()) {
        for (const FetchRecord& fetch : content->OwnLoader()->Fetches()) {
            if (fetch.completed) continue;
            Json item(rapidjson::kObjectType);
            item.AddMember("number", static_cast<std::uint64_t>(fetch.number), allocator);
            item.AddMember("url", Text(fetch.url, allocator), allocator);
            item.AddMember("source", Text(fetch.source, allocator), allocator);
            item.AddMember("mode", Json(FetchModeName(fetch.mode), allocator), allocator);
            fetches.PushBack(item, allocator);
        }
        for (const WorldContent::AppliedSet& applied : content->AppliedSets())
            if (applied.status == -1) applies.PushBack(Text(applied.name, allocator), allocator);
    }
    out.AddMember("expansions", expansions, allocator);
    out.AddMember("fetches", fetches, allocator);
    out.AddMember("applies", applies, allocator);
}

// Proxies whose branch is unread: a page shows them as branches, which the
// tree documents cannot tell from leaves.
void WriteProxies(Json& out, JsonAllocator& allocator, const StateLimits&) {
    out.SetArray();
    du::SmartPtr<WorldModel> world = CurrentWorld();
    if (!world || !world->tree) return;
    WorldGuard guard(WorldMutex());
    std::vector<const InstanceNode*> stack;
    for (const auto& root : world->Tree().roots) stack.push_back(root.get());
    while (!stack.empty()) {
        const InstanceNode* node = stack.back();
        stack.pop_back();
        for (const auto& child : node->children) stack.push_back(child.get());
        const ProxyInfo* proxy = node->UnreadProxy();
        if (!proxy) continue;
        Json item(rapidjson::kObjectType);
        item.AddMember("idpath", Text(node->IdPath(), allocator), allocator);
        item.AddMember("state", rapidjson::StringRef(proxy->failed        ? "failed"
                                                     : !proxy->expandable ? "unexpandable"
                                                     : proxy->reading     ? "reading"
                                                                          : "unread"),
                       allocator);
        out.PushBack(item, allocator);
    }
}

}  // namespace

Json ViewNameJson(const du::SmartPtr<qxk::View>& view, JsonAllocator& allocator) {
    return view ? Text(ViewName(view), allocator) : Json(rapidjson::kNullType);
}

Json WorkflowMessageJson(const WorkflowMessage& message, JsonAllocator& allocator) {
    Json item(rapidjson::kObjectType);
    item.AddMember("workflow", Text(message.workflow, allocator), allocator);
    item.AddMember("message", Text(message.message, allocator), allocator);
    item.AddMember("value", message.value, allocator);
    item.AddMember("data", WorkflowData(message.data, allocator), allocator);
    return item;
}

Json SelectionJson(const qxk::Scene& scene, JsonAllocator& allocator) {
    Json items(rapidjson::kArrayType);
    du::SmartPtr<SelectionManager> selection = SelectionOf(scene);
    if (!selection) return items;
    for (const SelectionItemDesc& item : selection->GetSelection(0)) {
        Json entry(rapidjson::kObjectType);
        entry.AddMember("representation", item.hasRepresentation, allocator);
        entry.AddMember("contentType", Text(item.contentType, allocator), allocator);
        Json fields(rapidjson::kObjectType);
        for (const auto& [name, value] : item.fields)
            fields.AddMember(Text(name, allocator), Text(value, allocator), allocator);
        entry.AddMember("fields", fields, allocator);
        items.PushBack(entry, allocator);
    }
    return items;
}

Json ShapeJson(const ShapeInstanceImpl& shape, JsonAllocator& allocator) {
    const auto* node = dynamic_cast<const InstanceNode*>(shape.instance.get());
    Json item(rapidjson::kObjectType);
    item.AddMember("id", static_cast<std::uint64_t>(node ? node->uid : 0), allocator);
    item.AddMember("idpath", Text(IdPathOf(shape.instance.get()), allocator), allocator);
    item.AddMember("visible", shape.visible, allocator);
    item.AddMember("color", ColorText(shape.color, allocator), allocator);
    item.AddMember("colorCalls", static_cast<unsigned>(shape.colorCalls.size()), allocator);
    // The host's colour starts as opaque black for every shape instance; a
    // page shows a shape's own look until one is set.
    item.AddMember("painted", shape.painted, allocator);
    return item;
}

Json LabelsJson(const qxk::Scene& scene, JsonAllocator& allocator) {
    Json labels(rapidjson::kArrayType);
    for (const auto& label : LabelsOf(scene)) {
        const qxannotations::LabelInfo& info = label->GetInfo();
        Json item(rapidjson::kObjectType), rows(rapidjson::kArrayType);
        item.AddMember("x", info.x, allocator);
        item.AddMember("y", info.y, allocator);
        item.AddMember("z", info.z, allocator);
        Json kinds(rapidjson::kArrayType);
        for (const auto& row : info.textRows) {
            rows.PushBack(Text(row.text, allocator), allocator);
            Json kind(rapidjson::kObjectType);
            kind.AddMember("text", Text(row.text, allocator), allocator);
            kind.AddMember("kind", row.kind, allocator);
            kinds.PushBack(kind, allocator);
        }
        item.AddMember("text", rows, allocator);
        item.AddMember("rows", kinds, allocator);
        labels.PushBack(item, allocator);
    }
    return labels;
}

Json ModuleCallJson(const ModuleCall& call, JsonAllocator& allocator) {
    Json item(rapidjson::kObjectType);
    item.AddMember("module", Text(call.module, allocator), allocator);
    item.AddMember("method", Text(call.method, allocator), allocator);
    item.AddMember("view", Text(ViewName(call.view), allocator), allocator);
    item.AddMember("flags", call.flags, allocator);
    item.AddMember("text", Text(call.text, allocator), allocator);
    return item;
}

Json ProgressJson(const ProgressDisplay& display, JsonAllocator& allocator) {
    Json item(rapidjson::kObjectType);
    item.AddMember("id", display.id, allocator);
    item.AddMember("type", rapidjson::StringRef(display.type == qxmk::Progress::PT_Bar ? "bar" : "spinner"), allocator);
    item.AddMember("scene", Text(SceneName(display.scene), allocator), allocator);
    item.AddMember("text", Text(display.text, allocator), allocator);
    item.AddMember("percentage", display.percentage, allocator);
    item.AddMember("running", display.running, allocator);
    return item;
}

Json AppliedSetJson(const WorldContent::AppliedSet& applied, JsonAllocator& allocator) {
    Json item(rapidjson::kObjectType);
    item.AddMember("scene", Text(SceneName(applied.scene), allocator), allocator);
    item.AddMember("name", Text(applied.name, allocator), allocator);
    item.AddMember("mask", applied.mask, allocator);
    item.AddMember("keepCamera", applied.keepCamera, allocator);
    item.AddMember("event", Text(applied.eventName, allocator), allocator);
    item.AddMember("status", applied.status, allocator);
    return item;
}

const std::vector<StateSection>& StateSections() {
    static const std::vector<StateSection> sections = {
        {"activeView", WriteActiveView},   {"views", WriteViews},
        {"scenes", WriteScenes},           {"markups", WriteMarkups},
        {"moduleCalls", WriteModuleCalls}, {"progress", WriteProgress},
        {"appliedSets", WriteAppliedSets}, {"crossSelection", WriteCrossSelection},
        {"pending", WritePending},         {"pluginLink", WritePluginLink},
        {"proxies", WriteProxies},
    };
    return sections;
}

}  // namespace devhost::gateway
