#include "devhost/world/WorldFile.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <vector>

#include <rapidjson/error/en.h>

#include "devhost/world/SceneModel.h"
#include "devhost/world/ViewModel.h"

namespace devhost {

namespace {

using Value = rapidjson::Value;

std::mutex& SectionsMutex() {
    static std::mutex mutex;
    return mutex;
}

std::map<std::string, WorldSectionHandler>& Sections() {
    static std::map<std::string, WorldSectionHandler> sections;
    return sections;
}

std::string At(const std::string& place, const char* key) { return place + "/" + key; }
std::string At(const std::string& place, rapidjson::SizeType index) { return place + "/" + std::to_string(index); }

const Value& Need(const Value& object, const char* key, const std::string& place) {
    auto it = object.FindMember(key);
    if (it == object.MemberEnd()) FailAt(place, std::string("\"") + key + "\" is missing");
    return it->value;
}

const Value* Optional(const Value& object, const char* key) {
    auto it = object.FindMember(key);
    return it == object.MemberEnd() ? nullptr : &it->value;
}

std::string Text(const Value& value, const std::string& place) {
    if (!value.IsString()) FailAt(place, "expected a string");
    return std::string(value.GetString(), value.GetStringLength());
}

bool Flag(const Value& value, const std::string& place) {
    if (!value.IsBool()) FailAt(place, "expected true or false");
    return value.GetBool();
}

const Value& Array(const Value& value, const std::string& place) {
    if (!value.IsArray()) FailAt(place, "expected an array");
    return value;
}

const Value& Object(const Value& value, const std::string& place) {
    if (!value.IsObject()) FailAt(place, "expected an object");
    return value;
}

// Rejects keys other than those given, so that a misspelt key is not
// silently ignored.
void OnlyKeys(const Value& object, const std::string& place, std::initializer_list<const char*> keys) {
    for (auto it = object.MemberBegin(); it != object.MemberEnd(); ++it) {
        std::string key(it->name.GetString(), it->name.GetStringLength());
        bool known = false;
        for (const char* k : keys) known = known || key == k;
        if (!known) FailAt(At(place, key.c_str()), "unknown key \"" + key + "\"");
    }
}

// A number written as a JSON number or as a text, decimal or "0x" hex.
unsigned long long Number(const Value& value, const std::string& place, const char* what) {
    if (value.IsUint64()) return value.GetUint64();
    if (value.IsString()) {
        std::string text = value.GetString();
        char* end = nullptr;
        errno = 0;
        unsigned long long n = std::strtoull(text.c_str(), &end, 0);
        if (!text.empty() && text[0] != '-' && end && *end == '\0' && errno == 0) return n;
    }
    FailAt(place, std::string("expected ") + what + ", a non-negative integer or a text such as \"0x4e\"");
}

ProxyOutcome Outcome(const Value& value, const std::string& place) {
    std::string text = Text(value, place);
    if (text == "expand") return ProxyOutcome::Expand;
    if (text == "fail") return ProxyOutcome::Fail;
    if (text == "never") return ProxyOutcome::Never;
    FailAt(place, "\"" + text + "\" is not one of \"expand\", \"fail\", \"never\"");
}

ProxyCompletion Completion(const Value& value, const std::string& place) {
    std::string text = Text(value, place);
    if (text == "auto") return ProxyCompletion::Auto;
    if (text == "manual") return ProxyCompletion::Manual;
    FailAt(place, "\"" + text + "\" is not one of \"auto\", \"manual\"");
}

const Value kNoInstances(rapidjson::kArrayType);

ProxyStart Start(const Value& value, const std::string& place) {
    std::string text = Text(value, place);
    if (text == "unread") return ProxyStart::Unread;
    if (text == "expanded") return ProxyStart::Expanded;
    if (text == "failed") return ProxyStart::Failed;
    if (text == "unexpandable") return ProxyStart::Unexpandable;
    FailAt(place, "\"" + text + "\" is not one of \"unread\", \"expanded\", \"failed\", \"unexpandable\"");
}

// [xmin, ymin, zmin, xmax, ymax, zmax], each corner at most the other.
Box ReadBox(const Value& value, const std::string& place) {
    static const char* kWanted = "expected [xmin, ymin, zmin, xmax, ymax, zmax], finite numbers";
    if (!value.IsArray() || value.Size() != 6) FailAt(place, kWanted);
    float corners[6];
    for (rapidjson::SizeType i = 0; i < 6; ++i) {
        if (!value[i].IsNumber() || !std::isfinite(value[i].GetDouble())) FailAt(place, kWanted);
        corners[i] = static_cast<float>(value[i].GetDouble());
    }
    Box box;
    box.Add(corners[0], corners[1], corners[2]);
    box.Add(corners[3], corners[4], corners[5]);
    if (box.min[0] != corners[0] || box.min[1] != corners[1] || box.min[2] != corners[2])
        FailAt(place, "the first corner is the lower one on every axis");
    return box;
}

class FileReader {
public:
    // Deeper structures are refused rather than read by deep recursion.
    static constexpr unsigned int kMaxDepth = 1000;

    // With the structure given, the builder holds it already and the file
    // must not name one.
    FileReader(WorldBuilder& builder, bool structureGiven) : builder_(builder), structureGiven_(structureGiven) {}

    void Read(const Value& root) {
        Object(root, "");
        if (structureGiven_) {
            for (const char* key : {"actorName", "tree", "structure"})
                if (Optional(root, key)) FailAt(std::string("/") + key, "the model gives the structure and the world");
        }
        if (const Value* name = Optional(root, "structureName")) builder_.SetStructureName(Text(*name, "/structureName"));
        if (!structureGiven_) Structure(root);
        ReadSections(root);
    }

private:
    void Structure(const Value& root) {
        const bool withTree = static_cast<bool>(builder_.World().tree);
        const Value* structureValue = withTree ? &Need(root, "structure", "") : Optional(root, "structure");
        if (!structureValue) structureValue = &kNoInstances;
        const Value& structure = Array(*structureValue, "/structure");
        if (!withTree && structure.Size() != 0) FailAt("/structure", "a world with no tree has no instances");
        for (rapidjson::SizeType i = 0; i < structure.Size(); ++i) Node(structure[i], nullptr, At("/structure", i));
    }

    void ReadSections(const Value& root) {
        if (const Value* scenes = Optional(root, "scenes")) {
            Array(*scenes, "/scenes");
            for (rapidjson::SizeType i = 0; i < scenes->Size(); ++i) Scene((*scenes)[i], At("/scenes", i));
        }
        if (const Value* active = Optional(root, "activeView")) {
            if (!active->IsNull()) {
                std::string name = Text(*active, "/activeView");
                auto view = builder_.FindView(name);
                if (!view) FailAt("/activeView", "no view is named \"" + name + "\"");
                builder_.SetActiveView(view);
            }
        }
        if (const Value* messages = Optional(root, "messages")) Messages(*messages, "/messages");
        for (auto it = root.MemberBegin(); it != root.MemberEnd(); ++it) {
            std::string key(it->name.GetString(), it->name.GetStringLength());
            static const std::set<std::string> own{"actorName", "tree",       "structureName", "structure",
                                                   "scenes",    "activeView", "messages"};
            if (own.count(key)) continue;
            WorldSectionHandler handler;
            {
                std::lock_guard<std::mutex> lock(SectionsMutex());
                auto found = Sections().find(key);
                if (found != Sections().end()) handler = found->second;
            }
            if (!handler) FailAt("/" + key, "unknown section \"" + key + "\"");
            try {
                handler(it->value, builder_, "/" + key);
            } catch (const std::invalid_argument& e) {  // a builder's refusal inside a section
                FailAt("/" + key, e.what());
            }
        }
    }

    void Node(const Value& node, InstanceNode* parent, const std::string& place, unsigned int depth = 0) {
        if (depth >= kMaxDepth) FailAt(place, "the structure is deeper than " + std::to_string(kMaxDepth) + " levels");
        Object(node, place);
        OnlyKeys(node, place, {"name", "uid", "children", "proxy", "box"});
        std::string name = Text(Need(node, "name", place), At(place, "name"));
        std::uint64_t uid = 0;
        if (const Value* id = Optional(node, "uid")) {
            uid = Number(*id, At(place, "uid"), "an id");
            if (uid == 0) FailAt(At(place, "uid"), "ids start at 1");
        }
        InstanceNode* made = nullptr;
        try {
            made = &builder_.AddInstance(parent, name, uid);
        } catch (const std::invalid_argument& e) {
            FailAt(place, e.what());
        }
        if (const Value* box = Optional(node, "box"))
            builder_.Place(*made, MakeBoxShape(ReadBox(*box, At(place, "box")), name));
        const Value* proxy = Optional(node, "proxy");
        const Value* children = Optional(node, "children");
        if (proxy && children) FailAt(place, "a proxy has its children inside \"proxy\"");
        if (proxy) {
            std::string at = At(place, "proxy");
            Object(*proxy, at);
            OnlyKeys(*proxy, at, {"outcome", "completion", "start", "children"});
            ProxyOutcome outcome = ProxyOutcome::Expand;
            ProxyCompletion completion = ProxyCompletion::Auto;
            ProxyStart start = ProxyStart::Unread;
            if (const Value* o = Optional(*proxy, "outcome")) outcome = Outcome(*o, At(at, "outcome"));
            if (const Value* c = Optional(*proxy, "completion")) completion = Completion(*c, At(at, "completion"));
            if (const Value* s = Optional(*proxy, "start")) start = Start(*s, At(at, "start"));
            builder_.MakeProxy(*made, outcome, completion, start);
            children = Optional(*proxy, "children");
            if (children) Children(*children, made, At(at, "children"), depth + 1);
            return;
        }
        if (children) Children(*children, made, At(place, "children"), depth + 1);
    }

    void Children(const Value& children, InstanceNode* parent, const std::string& place, unsigned int depth) {
        Array(children, place);
        for (rapidjson::SizeType i = 0; i < children.Size(); ++i) Node(children[i], parent, At(place, i), depth);
    }

    void Scene(const Value& scene, const std::string& place) {
        Object(scene, place);
        OnlyKeys(scene, place, {"name", "kind", "shapes", "views"});
        std::string name = Text(Need(scene, "name", place), At(place, "name"));
        std::string kind = "shape";
        if (const Value* k = Optional(scene, "kind")) kind = Text(*k, At(place, "kind"));
        if (kind != "shape" && kind != "illustration3d" && kind != "plain")
            FailAt(At(place, "kind"), "\"" + kind + "\" is not one of \"shape\", \"illustration3d\", \"plain\"");
        if (builder_.FindScene(name)) FailAt(At(place, "name"), "scene name \"" + name + "\" is used twice");
        du::SmartPtr<qxk::Scene> made;
        du::SmartPtr<qxk::ShapeScene> shapeScene;
        if (kind == "shape") {
            shapeScene = builder_.AddShapeScene(name);
            made = shapeScene;
        } else if (kind == "illustration3d") {
            shapeScene = MakeIllustration3dScene(du::Symbol(name));
            made = shapeScene;
            builder_.AddScene(made);
        } else {
            made = MakePlainScene(du::Symbol(name));
            builder_.AddScene(made);
        }
        if (const Value* shapes = Optional(scene, "shapes")) {
            std::string at = At(place, "shapes");
            Array(*shapes, at);
            if (!shapeScene && shapes->Size() > 0) FailAt(at, "only a shape scene has shapes");
            for (rapidjson::SizeType i = 0; i < shapes->Size(); ++i) Shape(*shapeScene, (*shapes)[i], At(at, i));
        }
        if (const Value* views = Optional(scene, "views")) {
            std::string at = At(place, "views");
            Array(*views, at);
            for (rapidjson::SizeType i = 0; i < views->Size(); ++i) View(made, (*views)[i], At(at, i));
        }
    }

    void Shape(qxk::ShapeScene& scene, const Value& shape, const std::string& place) {
        std::string path;
        bool visible = true;
        const Value* color = nullptr;
        if (shape.IsString()) {
            path = Text(shape, place);
        } else {
            Object(shape, place);
            OnlyKeys(shape, place, {"instance", "visible", "color"});
            path = Text(Need(shape, "instance", place), At(place, "instance"));
            if (const Value* v = Optional(shape, "visible")) visible = Flag(*v, At(place, "visible"));
            color = Optional(shape, "color");
        }
        InstanceNode* instance = builder_.Find(path);
        if (!instance) FailAt(place, "no loaded instance has the idpath \"" + path + "\"");
        if (color) {
            unsigned long long rgba = Number(*color, At(place, "color"), "a colour");
            if (rgba > 0xffffffffull) FailAt(At(place, "color"), "a colour has 32 bits");
            builder_.AddShape(scene, *instance, visible, dg::Color(static_cast<unsigned int>(rgba)));
        } else {
            builder_.AddShape(scene, *instance, visible);
        }
    }

    void View(const du::SmartPtr<qxk::Scene>& scene, const Value& view, const std::string& place) {
        Object(view, place);
        OnlyKeys(view, place, {"name", "kind", "alsoOf", "viewerProgress"});
        std::string name = Text(Need(view, "name", place), At(place, "name"));
        const Value& kind = Need(view, "kind", place);
        unsigned int number = ClassNumber(kind, At(place, "kind"));
        bool shapeView = number == ViewKindNumber("shape");
        if (shapeView && !du::DynamicCast<qxk::ShapeScene>(scene))
            FailAt(At(place, "kind"), "a shape view needs a shape scene");
        if (builder_.FindView(name)) FailAt(At(place, "name"), "view name \"" + name + "\" is used twice");
        du::SmartPtr<qxk::View> made = builder_.AddView(scene, number, name);
        if (const Value* alsoOf = Optional(view, "alsoOf")) {
            std::string at = At(place, "alsoOf");
            if (!alsoOf->IsArray()) FailAt(at, "expected an array of view kinds or class numbers");
            for (rapidjson::SizeType i = 0; i < alsoOf->Size(); ++i)
                AddViewClass(*made, ClassNumber((*alsoOf)[i], At(at, i)));
        }
        if (const Value* progress = Optional(view, "viewerProgress")) {
            std::string at = At(place, "viewerProgress");
            std::string mode = Text(*progress, at);
            if (!shapeView) FailAt(at, "only a shape view has a viewer");
            if (mode != "auto" && mode != "manual") FailAt(at, "\"" + mode + "\" is not one of \"auto\", \"manual\"");
            SetViewerProgress(*made, mode == "auto" ? ViewerProgress::Auto : ViewerProgress::Manual);
        }
    }

    // A view kind by name, or a class number.
    static unsigned int ClassNumber(const Value& kind, const std::string& place) {
        if (kind.IsString() && ViewKindNumber(kind.GetString()) != 0) return ViewKindNumber(kind.GetString());
        unsigned long long n = Number(kind, place, "a view kind (\"shape\", \"drawing\", \"image\", "
                                                   "\"document\", \"illustration\") or class number");
        if (n == 0 || n > 0xffffffffull) FailAt(place, "class numbers go from 1 to 0xffffffff");
        return static_cast<unsigned int>(n);
    }

    void Messages(const Value& messages, const std::string& place) {
        Object(messages, place);
        for (auto it = messages.MemberBegin(); it != messages.MemberEnd(); ++it) {
            std::string resource(it->name.GetString(), it->name.GetStringLength());
            std::string at = At(place, resource.c_str());
            Object(it->value, at);
            std::map<std::string, std::string> texts;
            for (auto entry = it->value.MemberBegin(); entry != it->value.MemberEnd(); ++entry) {
                std::string key(entry->name.GetString(), entry->name.GetStringLength());
                texts[key] = Text(entry->value, At(at, key.c_str()));
            }
            builder_.AddMessages(resource, texts);
        }
    }

    WorldBuilder& builder_;
    const bool structureGiven_;
};

std::string LineAndColumn(const std::string& text, std::size_t offset) {
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// Iterative, so that a deeply nested file cannot exhaust the stack.
void ParseWorldText(const std::string& text, rapidjson::Document& document) {
    document.Parse<rapidjson::kParseIterativeFlag>(text.c_str(), text.size());
    if (document.HasParseError())
        throw WorldFileError("at " + LineAndColumn(text, document.GetErrorOffset()) + ": " +
                             rapidjson::GetParseError_En(document.GetParseError()));
}

}  // namespace

void FailAt(const std::string& place, const std::string& what) {
    throw WorldFileError((place.empty() ? std::string("at the top") : "at " + place) + ": " + what);
}

void RegisterWorldSection(const std::string& name, WorldSectionHandler handler) {
    std::lock_guard<std::mutex> lock(SectionsMutex());
    Sections()[name] = std::move(handler);
}

void UnregisterWorldSection(const std::string& name) {
    std::lock_guard<std::mutex> lock(SectionsMutex());
    Sections().erase(name);
}

du::SmartPtr<WorldModel> LoadWorldText(const std::string& text, const std::string& origin) {
    try {
        rapidjson::Document document;
        ParseWorldText(text, document);
        std::string actorName = "world";
        bool withTree = true;
        if (document.IsObject()) {
            if (const Value* name = Optional(document, "actorName")) actorName = Text(*name, "/actorName");
            if (const Value* tree = Optional(document, "tree")) withTree = Flag(*tree, "/tree");
        }
        WorldBuilder builder(actorName, withTree);
        FileReader(builder, false).Read(document);
        return builder.Publish();
    } catch (const WorldFileError& e) {
        throw WorldFileError(origin + ": " + e.what());
    }
}

void ReadWorldSideText(const std::string& text, const std::string& origin, WorldBuilder& builder) {
    try {
        rapidjson::Document document;
        ParseWorldText(text, document);
        FileReader(builder, true).Read(document);
    } catch (const WorldFileError& e) {
        throw WorldFileError(origin + ": " + e.what());
    }
}

du::SmartPtr<WorldModel> LoadWorldFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw WorldFileError(path + ": cannot be opened");
    std::ostringstream text;
    text << in.rdbuf();
    return LoadWorldText(text.str(), path);
}

}  // namespace devhost
