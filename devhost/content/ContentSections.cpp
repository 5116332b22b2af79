#include "devhost/content/ContentSections.h"

#include <map>
#include <set>

namespace devhost {
namespace {

// Reading state of one section: where we are, and where problems go.
class Reader {
public:
    explicit Reader(const ContentErrorSink& error) : error_(error) {}

    bool Fail(const std::string& place, const std::string& message) {
        error_(place, message);
        return false;
    }
    bool Expect(bool condition, const std::string& place, const std::string& message) {
        return condition || Fail(place, message);
    }
    bool String(const rapidjson::Value& object, const char* key, const std::string& place, du::Symbol& out,
                bool required) {
        auto member = object.FindMember(key);
        if (member == object.MemberEnd()) return !required || Fail(place, std::string("missing \"") + key + "\"");
        if (!member->value.IsString()) return Fail(place + "/" + key, "must be a string");
        out = du::Symbol(member->value.GetString(), member->value.GetStringLength());
        return true;
    }
    bool Bool(const rapidjson::Value& object, const char* key, const std::string& place, bool& out) {
        auto member = object.FindMember(key);
        if (member == object.MemberEnd()) return true;
        if (!member->value.IsBool()) return Fail(place + "/" + key, "must be true or false");
        out = member->value.GetBool();
        return true;
    }

private:
    const ContentErrorSink& error_;
};

std::string Index(const std::string& place, rapidjson::SizeType i) { return place + "/" + std::to_string(i); }

bool ReadGeometry(Reader& r, const rapidjson::Value& value, const std::string& place, std::set<std::string>& ids,
                  du::SmartPtr<qxg::Object>& out) {
    if (!r.Expect(value.IsObject(), place, "must be an object")) return false;
    du::Symbol kindName, id;
    if (!r.String(value, "kind", place, kindName, true) || !r.String(value, "id", place, id, true)) return false;
    GeomKind kind;
    if (!GeomKindFromName(kindName.str(), kind)) return r.Fail(place + "/kind", "unknown kind \"" + kindName.str() + "\"");
    if (!ids.insert(id.str()).second) return r.Fail(place + "/id", "id \"" + id.str() + "\" is used twice in the shape");
    std::vector<du::SmartPtr<qxg::Object>> children;
    auto member = value.FindMember("children");
    if (member != value.MemberEnd()) {
        const std::string childrenPlace = place + "/children";
        if (!r.Expect(IsContainerKind(kind), childrenPlace, "only bodies, regions and shells hold geometry") ||
            !r.Expect(member->value.IsArray(), childrenPlace, "must be an array"))
            return false;
        for (rapidjson::SizeType i = 0; i < member->value.Size(); ++i) {
            du::SmartPtr<qxg::Object> child;
            if (!ReadGeometry(r, member->value[i], Index(childrenPlace, i), ids, child)) return false;
            children.push_back(child);
        }
    }
    out = MakeGeometry(kind, id.str(), std::move(children));
    return true;
}

bool ReadShapes(Reader& r, const rapidjson::Value& value, const std::string& at, WorldContent& content) {
    if (!r.Expect(value.IsObject(), at, "must be an object of shapes by name")) return false;
    for (auto shape = value.MemberBegin(); shape != value.MemberEnd(); ++shape) {
        const std::string place = at + "/" + shape->name.GetString();
        auto bodies = shape->value.IsObject() ? shape->value.FindMember("bodies") : shape->value.MemberEnd();
        if (!r.Expect(shape->value.IsObject() && bodies != shape->value.MemberEnd() && bodies->value.IsArray(), place,
                      "must be an object with an array \"bodies\""))
            return false;
        std::set<std::string> ids;
        std::vector<du::SmartPtr<qxg::Object>> objects;
        for (rapidjson::SizeType i = 0; i < bodies->value.Size(); ++i) {
            du::SmartPtr<qxg::Object> body;
            const std::string bodyPlace = Index(place + "/bodies", i);
            if (!ReadGeometry(r, bodies->value[i], bodyPlace, ids, body)) return false;
            if (!r.Expect(dynamic_cast<qxg::Body*>(body.get()) != nullptr, bodyPlace, "must be of kind \"body\""))
                return false;
            objects.push_back(body);
        }
        content.AddShape(new Shape(du::Symbol(shape->name.GetString()), new ShapeData(objects)));
    }
    return true;
}

bool ReadViewable(Reader& r, const rapidjson::Value& value, const std::string& place, ViewableDesc& desc) {
    if (!r.Expect(value.IsObject(), place, "must be an object")) return false;
    du::Symbol kind;
    if (!r.String(value, "kind", place, kind, true) || !r.String(value, "name", place, desc.name, true) ||
        !r.String(value, "type", place, desc.type, false))
        return false;
    if (kind == "plain") {
        desc.kind = ViewableKind::Plain;
    } else if (kind == "illustration3d") {
        desc.kind = ViewableKind::Illustration3d;
        if (!r.String(value, "thumbnail", place, desc.thumbnail, false)) return false;
    } else if (kind == "illustrate") {
        desc.kind = ViewableKind::Illustrate;
        auto nested = value.FindMember("viewables");
        if (nested != value.MemberEnd()) {
            if (!r.Expect(nested->value.IsArray(), place + "/viewables", "must be an array")) return false;
            for (rapidjson::SizeType i = 0; i < nested->value.Size(); ++i) {
                desc.nested.emplace_back();
                if (!ReadViewable(r, nested->value[i], Index(place + "/viewables", i), desc.nested.back()))
                    return false;
            }
        }
    } else {
        return r.Fail(place + "/kind", "unknown kind \"" + kind.str() + "\"");
    }
    if (desc.type.IsNull()) desc.type = kind;
    return true;
}

// A list of viewables at place, as one component's.
bool ReadViewableList(Reader& r, const rapidjson::Value& value, const std::string& place,
                      du::SmartPtr<qxk::ComponentNode>& component) {
    if (!r.Expect(value.IsArray(), place, "must be an array")) return false;
    std::vector<du::SmartPtr<qxk::ViewableSource>> sources;
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
        ViewableDesc viewable;
        if (!ReadViewable(r, value[i], Index(place, i), viewable)) return false;
        sources.push_back(MakeViewable(viewable));
    }
    component = new ComponentNode(std::move(sources));
    return true;
}

bool ReadViewableSets(Reader& r, const rapidjson::Value& value, const std::string& at, WorldContent& content) {
    if (!r.Expect(value.IsObject(), at, "must be an object of sets by name")) return false;
    for (auto set = value.MemberBegin(); set != value.MemberEnd(); ++set) {
        const std::string name = set->name.GetString();
        const std::string place = at + "/" + name;
        if (!r.Expect(!name.empty(), place, "a set needs a name") ||
            !r.Expect(set->value.IsObject(), place, "must be an object of viewables by idpath"))
            return false;
        for (auto entry = set->value.MemberBegin(); entry != set->value.MemberEnd(); ++entry) {
            du::SmartPtr<qxk::ComponentNode> component;
            if (!ReadViewableList(r, entry->value, place + "/" + entry->name.GetString(), component)) return false;
            content.AddToViewableSet(name, entry->name.GetString(), component);
        }
    }
    return true;
}

bool ReadComponents(Reader& r, const rapidjson::Value& value, const std::string& at, WorldContent& content) {
    if (!r.Expect(value.IsObject(), at, "must be an object of components by idpath")) return false;
    for (auto entry = value.MemberBegin(); entry != value.MemberEnd(); ++entry) {
        const std::string place = at + "/" + entry->name.GetString();
        const rapidjson::Value& desc = entry->value;
        if (!r.Expect(desc.IsObject(), place, "must be an object")) return false;
        InstanceContent instance;
        if (!r.Bool(desc, "anchor", place, instance.hasAnchor) ||
            !r.Bool(desc, "component", place, instance.hasComponent))
            return false;
        du::Symbol shapeName;
        if (!r.String(desc, "shape", place, shapeName, false)) return false;
        if (!shapeName.IsNull()) {
            instance.shape = content.FindShape(shapeName);
            if (!instance.shape) return r.Fail(place + "/shape", "no shape \"" + shapeName.str() + "\"");
        }
        auto viewables = desc.FindMember("viewables");
        if (viewables != desc.MemberEnd() &&
            !ReadViewableList(r, viewables->value, place + "/viewables", instance.component))
            return false;
        content.SetContentForPath(entry->name.GetString(), instance);
    }
    return true;
}

bool ReadFetchRule(Reader& r, const rapidjson::Value& value, const std::string& place, FetchRule& rule) {
    static const std::map<std::string, FetchMode> modes = {
        {"deliver", FetchMode::Deliver}, {"fail", FetchMode::Fail}, {"never", FetchMode::Never}, {"held", FetchMode::Held}};
    du::Symbol mode;
    if (value.IsString()) {
        mode = du::Symbol(value.GetString());
    } else if (!r.Expect(value.IsObject(), place, "must be a mode or an object") ||
               !r.String(value, "mode", place, mode, false) || !r.String(value, "after", place, rule.after, false)) {
        return false;
    }
    if (mode.IsNull()) return true;
    auto found = modes.find(mode.str());
    if (found == modes.end()) return r.Fail(place, "unknown fetch mode \"" + mode.str() + "\"");
    rule.mode = found->second;
    return true;
}

bool ReadLoader(Reader& r, const rapidjson::Value& value, const std::string& at, WorldContent& content) {
    if (!r.Expect(value.IsObject(), at, "must be an object")) return false;
    bool present = true;
    if (!r.Bool(value, "present", at, present)) return false;
    content.SetLoaderPresent(present);
    auto fetches = value.FindMember("fetches");
    if (fetches == value.MemberEnd()) return true;
    if (!r.Expect(fetches->value.IsObject(), at + "/fetches", "must be an object of rules by file source"))
        return false;
    for (auto rule = fetches->value.MemberBegin(); rule != fetches->value.MemberEnd(); ++rule) {
        FetchRule parsed;
        if (!ReadFetchRule(r, rule->value, at + "/fetches/" + rule->name.GetString(), parsed))
            return false;
        content.OwnLoader()->SetFetchRule(du::Symbol(rule->name.GetString()), parsed);
    }
    return true;
}

bool ReadModules(Reader& r, const rapidjson::Value& value, const std::string& at, WorldContent& content) {
    if (!r.Expect(value.IsObject(), at, "must be an object")) return false;
    for (auto module = value.MemberBegin(); module != value.MemberEnd(); ++module) {
        const std::string name = module->name.GetString();
        const std::string place = at + "/" + name;
        const rapidjson::Value& desc = module->value;
        if (desc.IsBool() && !desc.GetBool()) continue;
        du::Symbol profiles = du::Symbol::EMPTY;
        if (desc.IsObject()) {
            if (!r.String(desc, "profiles", place, profiles, false)) return false;
        } else if (!r.Expect(desc.IsBool(), place, "must be true, false or an object")) {
            return false;
        }
        if (name == "ecadapi") {
            content.AddEcadModule();
        } else if (name == "webipc") {
            content.AddWebIpcModule();
        } else if (name == "illustrate") {
            content.AddIllustrateModule(profiles);
        } else if (name == "schematic") {
            content.AddSchematicModule(profiles);
        } else {
            return r.Fail(place, "unknown module \"" + name + "\"");
        }
    }
    return true;
}

bool ReadAnnoSetShapes(Reader& r, const rapidjson::Value& desc, const std::string& at, AnnoSetDesc& set) {
    auto shapes = desc.FindMember("shapes");
    if (shapes == desc.MemberEnd()) return true;
    const std::string list = at + "/shapes";
    if (!r.Expect(shapes->value.IsArray(), list, "must be an array")) return false;
    for (rapidjson::SizeType i = 0; i < shapes->value.Size(); ++i) {
        const rapidjson::Value& shape = shapes->value[i];
        const std::string place = Index(list, i);
        AnnoSetShape parsed;
        if (shape.IsString()) {
            parsed.idPath = du::Symbol(shape.GetString());
        } else if (!r.Expect(shape.IsObject(), place, "must be an idpath or an object") ||
                   !r.String(shape, "instance", place, parsed.idPath, true) ||
                   !r.Bool(shape, "visible", place, parsed.visible)) {
            return false;
        }
        set.shapes.push_back(parsed);
    }
    return true;
}

bool ReadAnnotationSets(Reader& r, const rapidjson::Value& value, const std::string& at, WorldContent& content) {
    static const std::map<std::string, AnnoSetDesc::SceneKind> kinds = {
        {"shape", AnnoSetDesc::SceneKind::Shape},
        {"illustration3d", AnnoSetDesc::SceneKind::Illustration3d},
        {"plain", AnnoSetDesc::SceneKind::Plain}};
    if (!r.Expect(value.IsArray(), at, "must be an array")) return false;
    std::vector<AnnoSetDesc> sets;
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
        const std::string place = Index(at, i);
        const rapidjson::Value& desc = value[i];
        if (!r.Expect(desc.IsObject(), place, "must be an object")) return false;
        AnnoSetDesc set;
        du::Symbol scene;
        bool fails = false;
        if (!r.String(desc, "name", place, set.name, true) || !r.String(desc, "propName", place, set.propName, false) ||
            !r.String(desc, "scene", place, scene, false) || !r.Bool(desc, "applyFails", place, fails))
            return false;
        if (set.propName.IsNull()) set.propName = du::Symbol::EMPTY;
        auto type = desc.FindMember("contentType");
        if (type != desc.MemberEnd()) {
            if (!r.Expect(type->value.IsUint() && type->value.GetUint() <= 2, place + "/contentType",
                          "must be 1 (model) or 2 (illustration)"))
                return false;
            set.contentType = static_cast<qxk::AnnoSetContentType>(type->value.GetUint());
        }
        if (!scene.IsNull()) {
            auto kind = kinds.find(scene.str());
            if (kind == kinds.end()) return r.Fail(place + "/scene", "unknown scene kind \"" + scene.str() + "\"");
            set.sceneKind = kind->second;
        }
        if (!r.Bool(desc, "held", place, set.held) || !ReadAnnoSetShapes(r, desc, place, set)) return false;
        if (fails) content.SetApplyFails(set.name);
        sets.push_back(set);
    }
    content.SetAnnoSets(sets);
    return true;
}

bool ReadSelectionItem(Reader& r, const rapidjson::Value& value, const std::string& place, SelectionItemDesc& item) {
    if (!r.Expect(value.IsObject(), place, "must be an object")) return false;
    if (!r.Bool(value, "representation", place, item.hasRepresentation) ||
        !r.String(value, "contentType", place, item.contentType, item.hasRepresentation))
        return false;
    auto fields = value.FindMember("fields");
    if (fields != value.MemberEnd()) {
        if (!r.Expect(fields->value.IsObject(), place + "/fields", "must be an object of texts")) return false;
        for (auto field = fields->value.MemberBegin(); field != fields->value.MemberEnd(); ++field) {
            if (!r.Expect(field->value.IsString(), place + "/fields/" + field->name.GetString(), "must be a string"))
                return false;
            item.fields.emplace_back(du::Symbol(field->name.GetString()),
                                     std::string(field->value.GetString(), field->value.GetStringLength()));
        }
    }
    auto failing = value.FindMember("failingFields");
    if (failing != value.MemberEnd()) {
        if (!r.Expect(failing->value.IsArray(), place + "/failingFields", "must be an array of names")) return false;
        for (rapidjson::SizeType i = 0; i < failing->value.Size(); ++i) {
            if (!r.Expect(failing->value[i].IsString(), Index(place + "/failingFields", i), "must be a string"))
                return false;
            item.failingFields.insert(du::Symbol(failing->value[i].GetString()));
        }
    }
    return true;
}

bool ReadSelection(Reader& r, const rapidjson::Value& value, const std::string& at, WorldContent& content) {
    if (!r.Expect(value.IsArray(), at, "must be an array")) return false;
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
        const std::string place = Index(at, i);
        const rapidjson::Value& desc = value[i];
        if (!r.Expect(desc.IsObject(), place, "must be an object")) return false;
        du::Symbol scene;
        if (!r.String(desc, "scene", place, scene, true)) return false;
        unsigned int set = 0;
        auto number = desc.FindMember("set");
        if (number != desc.MemberEnd()) {
            if (!r.Expect(number->value.IsUint(), place + "/set", "must be a selection set number")) return false;
            set = number->value.GetUint();
        }
        auto items = desc.FindMember("items");
        if (!r.Expect(items != desc.MemberEnd() && items->value.IsArray(), place, "needs an array \"items\""))
            return false;
        std::vector<SelectionItemDesc> descs;
        for (rapidjson::SizeType k = 0; k < items->value.Size(); ++k) {
            descs.emplace_back();
            if (!ReadSelectionItem(r, items->value[k], Index(place + "/items", k), descs.back())) return false;
        }
        content.SetInitialSelection(scene, set, std::move(descs));
    }
    return true;
}

}  // namespace

const std::vector<std::string>& ContentSectionNames() {
    static const std::vector<std::string> names = {"geometry", "components",     "viewableSets", "loader",
                                                   "modules",  "annotationSets", "selection"};
    return names;
}

bool ReadContentSection(const std::string& key, const rapidjson::Value& value, const std::string& place,
                        WorldContent& content, const ContentErrorSink& error) {
    Reader r(error);
    if (key == "geometry") return ReadShapes(r, value, place, content);
    if (key == "components") return ReadComponents(r, value, place, content);
    if (key == "viewableSets") return ReadViewableSets(r, value, place, content);
    if (key == "loader") return ReadLoader(r, value, place, content);
    if (key == "modules") return ReadModules(r, value, place, content);
    if (key == "annotationSets") return ReadAnnotationSets(r, value, place, content);
    if (key == "selection") return ReadSelection(r, value, place, content);
    return r.Fail(place, "is not a content section");
}

}  // namespace devhost
