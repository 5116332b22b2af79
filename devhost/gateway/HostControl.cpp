#include "devhost/gateway/HostControl.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "devhost/content/ContentWorldFile.h"
#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/gateway/WorldFolders.h"
#include "devhost/platform/Faults.h"
#include "devhost/samples/LargeWorld.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/ShapeGeometry.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldLock.h"
#include "devhost/world/WorldFile.h"

namespace devhost::gateway {

namespace {

// Reads members of a request; each sets error naming the member and gives
// false when it is missing (unless optional) or of another type.
struct Members {
    const Json& request;
    std::string& error;

    const Json* Find(const char* key) const {
        auto member = request.FindMember(key);
        return member == request.MemberEnd() ? nullptr : &member->value;
    }
    bool Fail(const char* key, const char* wanted) const {
        error = std::string("\"") + key + "\" is to be " + wanted;
        return false;
    }
    bool String(const char* key, std::string& value, bool optional = false) const {
        const Json* found = Find(key);
        if (!found) return optional || Fail(key, "a string");
        if (!found->IsString()) return Fail(key, "a string");
        value.assign(found->GetString(), found->GetStringLength());
        return true;
    }
    bool Bool(const char* key, bool& value, bool optional = false) const {
        const Json* found = Find(key);
        if (!found) return optional || Fail(key, "a boolean");
        if (!found->IsBool()) return Fail(key, "a boolean");
        value = found->GetBool();
        return true;
    }
    bool Int(const char* key, int& value, bool optional = false) const {
        const Json* found = Find(key);
        if (!found) return optional || Fail(key, "an integer");
        if (!found->IsInt()) return Fail(key, "an integer");
        value = found->GetInt();
        return true;
    }
    bool Array(const char* key, const Json*& value) const {
        value = Find(key);
        return (value && value->IsArray()) || Fail(key, "an array");
    }
};

// Enough for any test of scale; a synthetic world of more would take the
// host's memory for nothing.
constexpr unsigned kMostSyntheticInstances = 5000000;

bool Done(bool ok, std::string& error, const std::string& why) {
    if (!ok) error = why;
    return ok;
}

bool ReleaseExpansions(const Json&, Json& result, JsonAllocator& allocator, std::string&) {
    result.AddMember("finished", ReleasePendingExpansions(), allocator);
    return true;
}

bool ResolveExpansion(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    std::string idPath;
    bool success = true;
    if (!m.String("idpath", idPath) || !m.Bool("success", success, true)) return false;
    return Done(ResolvePendingExpansion(idPath, success), error, "no read of \"" + idPath + "\" is pending");
}

bool ReleaseFetch(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    int number = 0;
    bool succeed = true;
    if (!m.Int("number", number) || !m.Bool("succeed", succeed, true)) return false;
    auto content = CurrentContent();
    return Done(content && number >= 0 && content->OwnLoader()->ReleaseFetch(static_cast<std::size_t>(number), succeed),
                error, "no held fetch " + std::to_string(number));
}

// Held annotation-set applications are known by their index in the
// applied sets; the status completes the application (0 shows the set).
bool ReleaseApply(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    int index = 0, status = 0;
    if (!m.Int("index", index) || !m.Int("status", status, true)) return false;
    auto content = CurrentContent();
    return Done(content && index >= 0 && content->ReleaseApply(static_cast<std::size_t>(index), status), error,
                "no held apply " + std::to_string(index));
}

bool SetSelection(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    std::string scene;
    int set = 0;
    const Json* items = nullptr;
    if (!m.String("scene", scene) || !m.Int("set", set, true) || !m.Array("items", items)) return false;
    std::vector<SelectionItemDesc> descs;
    for (const Json& item : items->GetArray()) {
        if (!item.IsObject()) return Done(false, error, "an item is {\"contentType\", \"fields\"}");
        Members fields{item, error};
        SelectionItemDesc desc;
        std::string contentType;
        if (!fields.String("contentType", contentType, true) ||
            !fields.Bool("representation", desc.hasRepresentation, true))
            return false;
        desc.contentType = du::Symbol(contentType);
        if (const Json* values = fields.Find("fields")) {
            if (!values->IsObject()) return fields.Fail("fields", "an object of texts");
            for (auto field = values->MemberBegin(); field != values->MemberEnd(); ++field) {
                if (!field->value.IsString()) return fields.Fail("fields", "an object of texts");
                desc.fields.emplace_back(du::Symbol(field->name.GetString()), field->value.GetString());
            }
        }
        descs.push_back(std::move(desc));
    }
    return Done(SetSceneSelection(scene, static_cast<unsigned>(set), descs), error, "no scene \"" + scene + "\"");
}

bool ActivateViewNamed(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    std::string view;
    if (!m.String("view", view)) return false;
    return Done(ActivateView(view), error, "no view \"" + view + "\"");
}

bool ReadAdditions(const Members& m, const char* key, std::vector<NewInstance>& additions) {
    const Json* instances = nullptr;
    if (!m.Array(key, instances)) return false;
    for (const Json& instance : instances->GetArray()) {
        if (!instance.IsObject()) return Done(false, m.error, "an instance is {\"parent\", \"name\"}");
        Members each{instance, m.error};
        NewInstance addition;
        if (!each.String("parent", addition.parentIdPath, true) || !each.String("name", addition.name)) return false;
        additions.push_back(std::move(addition));
    }
    return true;
}

bool ReadIdPaths(const Members& m, const char* key, std::vector<std::string>& idPaths) {
    const Json* paths = nullptr;
    if (!m.Array(key, paths)) return false;
    for (const Json& path : paths->GetArray()) {
        if (!path.IsString()) return m.Fail(key, "an array of idpaths");
        idPaths.emplace_back(path.GetString(), path.GetStringLength());
    }
    return true;
}

Json IdsOf(const std::vector<InstanceNode*>& nodes, JsonAllocator& allocator) {
    Json ids(rapidjson::kArrayType);
    for (const InstanceNode* node : nodes) ids.PushBack(Json(std::to_string(node->uid).c_str(), allocator), allocator);
    return ids;
}

bool AddInstances(const Json& request, Json& result, JsonAllocator& allocator, std::string& error) {
    std::vector<NewInstance> additions;
    if (!ReadAdditions(Members{request, error}, "instances", additions)) return false;
    std::vector<InstanceNode*> made;
    for (const NewInstance& addition : additions) {
        InstanceNode* node = AddInstanceAt(addition.parentIdPath, addition.name);
        if (!node)
            return Done(false, error, "cannot add \"" + addition.name + "\" under \"" + addition.parentIdPath + "\"");
        made.push_back(node);
    }
    result.AddMember("ids", IdsOf(made, allocator), allocator);
    return true;
}

bool RemoveInstances(const Json& request, Json&, JsonAllocator&, std::string& error) {
    std::vector<std::string> idPaths;
    if (!ReadIdPaths(Members{request, error}, "idpaths", idPaths)) return false;
    for (const std::string& path : idPaths)
        if (!RemoveInstanceAt(path)) return Done(false, error, "no instance \"" + path + "\"");
    return true;
}

// Removals and additions that the tree's listeners hear of as one change,
// as when a viewer replaces part of an assembly at once.
bool ChangeInstancesAtOnce(const Json& request, Json& result, JsonAllocator& allocator, std::string& error) {
    Members m{request, error};
    std::vector<std::string> removals;
    std::vector<NewInstance> additions;
    if ((m.Find("remove") && !ReadIdPaths(m, "remove", removals)) ||
        (m.Find("add") && !ReadAdditions(m, "add", additions)))
        return false;
    InstancesChange change = ChangeInstances(removals, additions);
    if (!change.done) return Done(false, error, change.failure);
    result.AddMember("ids", IdsOf(change.added, allocator), allocator);
    return true;
}

// Any integer is forced, as the host function takes it, so that the states
// the rule never gives (0, 10 and above) can be tried; "rule" goes back to
// the rule.
bool VisibilityOverride(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    std::string idPath;
    if (!m.String("idpath", idPath)) return false;
    const Json* state = m.Find("state");
    if (state && state->IsString() && std::string(state->GetString()) == "rule")
        return Done(ClearVisibilityOverride(idPath), error, "no instance \"" + idPath + "\"");
    if (!state || !state->IsInt()) return m.Fail("state", "an integer, or \"rule\"");
    return Done(SetVisibilityOverride(idPath, state->GetInt()), error, "no instance \"" + idPath + "\"");
}

// No tree, with the application's scenes and views kept, as a viewer shows
// a document that has no structure.
bool WorldWithoutTree(const Json&, Json&, JsonAllocator&, std::string& error) {
    return Done(UseWorldWithoutTree() != nullptr, error, "the world could not be replaced");
}

bool ShowShape(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    std::string scene, idPath;
    bool visible = true;
    if (!m.String("scene", scene) || !m.String("idpath", idPath) || !m.Bool("visible", visible)) return false;
    return Done(ShowInstance(scene, idPath, visible), error, "no shape scene \"" + scene + "\" or instance");
}

bool ViewerProgress(const Json& request, Json& result, JsonAllocator& allocator, std::string& error) {
    Members m{request, error};
    std::string view;
    int percentage = 100;
    bool finish = true;
    if (!m.String("view", view) || !m.Int("percentage", percentage, true) || !m.Bool("finish", finish, true))
        return false;
    auto found = FindViewNamed(view);
    if (!found) return Done(false, error, "no view \"" + view + "\"");
    result.AddMember("events",
                     ReportViewerProgress(*found, static_cast<unsigned char>(std::clamp(percentage, 0, 100)), finish),
                     allocator);
    return true;
}

bool ArmFaultAt(const Json& request, Json&, JsonAllocator&, std::string& error) {
    static const std::map<std::string, FaultKind> kinds = {
        {"fail", FaultKind::Fail},
        {"throw", FaultKind::ThrowStd},
        {"actorShutdown", FaultKind::ThrowActorShutdown},
        {"connectionLost", FaultKind::ThrowConnectionLost},
        {"messageProtocol", FaultKind::ThrowMessageProtocol},
        {"invalidActor", FaultKind::ThrowInvalidActor},
        {"unknown", FaultKind::ThrowUnknown},
    };
    Members m{request, error};
    std::string point, kind = "fail", text = "fault";
    int count = -1;
    if (!m.String("point", point) || !m.String("kind", kind, true) || !m.String("text", text, true) ||
        !m.Int("count", count, true))
        return false;
    auto found = kinds.find(kind);
    if (found == kinds.end())
        return Done(false, error, "\"kind\" is one of fail, throw, actorShutdown, connectionLost, messageProtocol, "
                                  "invalidActor, unknown");
    ArmFault(point, Fault{found->second, text, count});
    return true;
}

bool DisarmFaults(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    std::string point;
    if (!m.String("point", point, true)) return false;
    if (point.empty())
        DisarmAllFaults();
    else
        DisarmFault(point);
    return true;
}

// What a viewer's pick selects: the picked instance by idpath, and the
// point of the pick as text, "x y z".
SelectionItemDesc PickedItem(const std::string& idPath, const std::string& point) {
    SelectionItemDesc item;
    item.contentType = du::Symbol("objectselectionitem");
    item.fields = {{du::Symbol("instance"), idPath}, {du::Symbol("sbomIdPath"), idPath}, {du::Symbol("pick_point"), point}};
    return item;
}

// The point a pick gives when the request names none: the middle of the
// instance's shape in the world.
std::string MiddleOf(const InstanceNode& node) {
    auto world = CurrentWorld();
    auto geometry = world ? du::DynamicCast<WorldGeometry>(world->GetExtension("geometry")) : nullptr;
    const Placement* placed = geometry ? geometry->Find(node.uid) : nullptr;
    float middle[3] = {0, 0, 0};
    if (placed && !placed->shape->box.Empty()) {
        const Box& box = placed->shape->box;
        const Transform& m = placed->transform;
        const float x = (box.min[0] + box.max[0]) / 2, y = (box.min[1] + box.max[1]) / 2, z = (box.min[2] + box.max[2]) / 2;
        for (int axis = 0; axis < 3; ++axis) middle[axis] = m[axis] * x + m[4 + axis] * y + m[8 + axis] * z + m[12 + axis];
    }
    char text[96];
    std::snprintf(text, sizeof text, "%g %g %g", middle[0], middle[1], middle[2]);
    return text;
}

// A click in the viewer pane: selection set 0 of the scene becomes the
// picked shape instance (or gains it, with "add"), as the viewer's own pick
// would set it, and the selection's observers hear of it; a null idpath
// clears the set.
bool PickShape(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    std::string sceneName, idPath, point;
    bool add = false;
    if (!m.String("scene", sceneName) || !m.Bool("add", add, true)) return false;
    const Json* path = m.Find("idpath");
    if (!path || !(path->IsNull() || path->IsString())) return m.Fail("idpath", "an idpath or null");
    if (path->IsString()) idPath.assign(path->GetString(), path->GetStringLength());
    if (const Json* at = m.Find("point")) {
        if (!at->IsArray() || at->Size() != 3 || !(*at)[0].IsNumber() || !(*at)[1].IsNumber() || !(*at)[2].IsNumber())
            return m.Fail("point", "[x, y, z]");
        char text[96];
        std::snprintf(text, sizeof text, "%g %g %g", (*at)[0].GetDouble(), (*at)[1].GetDouble(), (*at)[2].GetDouble());
        point = text;
    }
    auto scene = du::DynamicCast<qxk::ShapeScene>(FindSceneNamed(sceneName));
    if (!scene) return Done(false, error, "no shape scene \"" + sceneName + "\"");
    du::SmartPtr<SelectionManager> selection = SelectionOf(*scene);
    std::vector<SelectionItemDesc> items;
    if (!path->IsNull()) {
        du::SmartPtr<qxk::Instance> instance;
        if (auto world = CurrentWorld()) {
            WorldGuard guard(WorldMutex());
            instance = world->Tree().Find(idPath);
        }
        if (!instance || !FindShape(*scene, instance.get()))
            return Done(false, error, "no shape instance of \"" + idPath + "\" in \"" + sceneName + "\"");
        if (add) items = selection->GetSelection(0);
        const bool present = std::any_of(items.begin(), items.end(), [&](const SelectionItemDesc& item) {
            return std::any_of(item.fields.begin(), item.fields.end(),
                               [&](const auto& field) { return field.first == "instance" && field.second == idPath; });
        });
        if (!present) items.push_back(PickedItem(idPath, point.empty() ? MiddleOf(Node(*instance)) : point));
    }
    selection->SetSelection(0, items);
    return true;
}

// Another world replaces the current one; the module sees it as a viewer
// would see a new document: its tree clears and fills again.
bool LoadWorld(const Json& request, Json&, JsonAllocator&, std::string& error) {
    Members m{request, error};
    try {
        if (const Json* inline_ = m.Find("world")) {
            if (!inline_->IsObject()) return m.Fail("world", "a world object");
            rapidjson::StringBuffer text;
            rapidjson::Writer<rapidjson::StringBuffer> writer(text);
            inline_->Accept(writer);
            LoadWorldText(text.GetString(), "inline world");
        } else if (const Json* synthetic = m.Find("synthetic")) {
            if (!synthetic->IsUint() || synthetic->GetUint() < 1 || synthetic->GetUint() > kMostSyntheticInstances)
                return m.Fail("synthetic", "a number of instances from 1 to 5000000");
            LoadSyntheticWorld(synthetic->GetUint());
        } else {
            std::string path, file;
            if (!m.String("path", path, true)) return false;
            if (path.empty()) {
                LoadDefaultSampleWorld();
            } else if (!WorldFolders::Resolve(path, file)) {
                // The same words whether or not there is such a file.
                return Done(false, error, "\"path\" is to name a world file in the world folders");
            } else {
                LoadContentWorldFile(file);
            }
        }
    } catch (const std::exception& failure) {
        error = failure.what();
        return false;
    }
    return true;
}

}  // namespace

void LoadSyntheticWorld(std::size_t instances) {
    LargeWorldParams params;
    params.instances = instances;
    // Ten children an assembly, as deep as the count needs.
    params.fanOut = 10;
    params.depth = 1;
    for (std::size_t holds = 11; holds < instances; holds = holds * 10 + 1) ++params.depth;
    BuildLargeWorld(params);
}

const std::vector<ControlAction>& ControlActions() {
    static const std::vector<ControlAction> actions = {
        {"releaseExpansions", "", ReleaseExpansions},
        {"resolveExpansion", "idpath, success (default true)", ResolveExpansion},
        {"releaseFetch", "number, succeed (default true)", ReleaseFetch},
        {"releaseApply", "index (in appliedSets), status (default 0)", ReleaseApply},
        {"setSelection", "scene, set (default 0), items [{contentType, fields {name: text}, representation}]",
         SetSelection},
        {"activateView", "view (\"\" for none)", ActivateViewNamed},
        {"addInstances", "instances [{parent (idpath, \"\" for a root), name}]", AddInstances},
        {"removeInstances", "idpaths [idpath]", RemoveInstances},
        {"changeInstances", "remove [idpath], add [{parent, name}], as one change", ChangeInstancesAtOnce},
        {"setVisibilityOverride", "idpath, state (any integer, forced; \"rule\" back to the rule)", VisibilityOverride},
        {"showInstance", "scene, idpath, visible", ShowShape},
        {"reportViewerProgress", "view, percentage (default 100), finish (default true)", ViewerProgress},
        {"armFault", "point, kind (default fail), text, count (default -1: every hit)", ArmFaultAt},
        {"disarmFaults", "point (default: all)", DisarmFaults},
        {"pickShape", "scene, idpath (null clears), add (default false), point [x, y, z] (default the shape's middle)",
         PickShape},
        {"useWorldWithoutTree", "", WorldWithoutTree},
        {"loadWorld", "path (\"\" for the sample world; a file in the world folders) | world {inline world file} | "
                      "synthetic N (1 to 5000000)", LoadWorld},
    };
    return actions;
}

}  // namespace devhost::gateway
