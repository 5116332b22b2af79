// The client's act on tree nodes: the primary node's visibility state
// decides between hiding the nodes and loading them.

#include <rapidjson/document.h>

#include <string>
#include <set>

#include "tree/GuiTreeWatcher.h"

namespace {

enum class Action { Hide, Load, Neither };

Action ActionFor(int state) {
    switch (state) {
        case 1:
        case 5:
        case 6:
            return Action::Hide;
        case 2:
        case 3:
        case 4:
        case 7:
        case 8:
            return Action::Load;
        default:
            return Action::Neither;
    }
}

// A member of the given kind, or null; members of another type are ignored.
const rapidjson::Value* StringMember(const rapidjson::Value& root, const char* key) {
    auto found = root.FindMember(key);
    return found != root.MemberEnd() && found->value.IsString() ? &found->value : nullptr;
}

const rapidjson::Value* ArrayMember(const rapidjson::Value& root, const char* key) {
    auto found = root.FindMember(key);
    return found != root.MemberEnd() && found->value.IsArray() ? &found->value : nullptr;
}

}  // namespace

void GuiTreeWatcher::SelectTreeNodes(du::Symbol json) {
    rapidjson::Document request;
    request.Parse(json.safe_c_str());
    // A root that is not an object names no node: it is bad text like any other.
    if (request.HasParseError() || !request.IsObject()) return;
    if (request.HasMember("nodes")) {
        QueryNodeStates(json);
        return;
    }

    du::SmartPtr<qxk::BaseInstance> primary;
    int state = 2;
    PathSet loadPaths;
    std::set<std::string> selectedIds;
    std::set<std::string> unloadedTexts;  // gathered as the request has them, never read

    if (const rapidjson::Value* node = StringMember(request, "primaryNode")) {
        // Strings are taken up to their first NUL, as the host's text is.
        const std::string text = node->GetString();
        if (!text.empty()) {
            if (qxk::BaseInstance* found = LookUpId(instancesById, text)) {
                primary = found;
                loadPaths.insert(primary->GetIdPath());
                state = VisibilityState(primary, 2);
            }
        }
    }
    if (const rapidjson::Value* node = StringMember(request, "unloadedPrimaryNode")) {
        if (!primary) {
            loadPaths.insert(du::Symbol(node->GetString()));
            state = 2;
        } else {
            tracer(dp::TT_Warning)
                << "Ignoring the unloadedPrimaryNode json attribute as the primaryNode attribute is set.";
        }
    }
    if (const rapidjson::Value* nodes = ArrayMember(request, "selectedNodes")) {
        for (const auto& element : nodes->GetArray()) {
            if (!element.IsString()) continue;
            const std::string text = element.GetString();
            std::uint64_t id = 0;
            if (!TextToId(text, id)) continue;
            selectedIds.insert(text);
            auto found = instancesById.find(id);
            if (found != instancesById.end()) loadPaths.insert(found->second->GetIdPath());
        }
    }
    if (const rapidjson::Value* nodes = ArrayMember(request, "unloadedSelectedNodes")) {
        for (const auto& element : nodes->GetArray()) {
            if (!element.IsString()) continue;
            unloadedTexts.insert(element.GetString());
            loadPaths.insert(du::Symbol(element.GetString()));
        }
    }

    unsigned int shapeCount = 0;
    if (shapeScene) shapeScene->GetNumShapeInstances(shapeCount);

    auto hide = [&] {
        if (primary) HideInstanceBranch(primary.get());
        for (const std::string& text : selectedIds)
            if (qxk::BaseInstance* found = LookUpId(instancesById, text)) HideInstanceBranch(found);
    };

    const bool repeated = primary == lastPrimaryInstance && state == lastPrimaryState && (state == 3 || state == 4);
    if (repeated) {
        // A second click on a partly shown branch that the first one could
        // not change hides it. No fly-to-all here.
        hide();
        StartLoadProgress();
        return;
    }
    lastPrimaryState = state;
    lastPrimaryInstance = primary;
    switch (ActionFor(state)) {
        case Action::Hide:
            hide();
            StartLoadProgress();
            break;
        case Action::Load:
            LoadInstancePaths(loadPaths);
            StartLoadProgress();
            break;
        case Action::Neither:
            break;
    }
    if (shapeCount == 0) FlyToAll();
}
