#include "devhost/content/ContentWorldFile.h"

#include <algorithm>

#include "devhost/content/ContentSections.h"
#include "devhost/content/WorldContent.h"
#include "devhost/world/WorldFile.h"
#include "devhost/world/WorldLock.h"

namespace devhost {
namespace {

thread_local std::string loadFolder;

// Sets the load folder for one load and puts the one before back.
class FolderScope {
public:
    explicit FolderScope(std::string folder) : previous_(std::move(loadFolder)) { loadFolder = std::move(folder); }
    ~FolderScope() { loadFolder = std::move(previous_); }

private:
    std::string previous_;
};

std::string FolderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Whether an idpath names an instance of the world being built, read or in
// an unread proxy branch.
bool NamesInstance(WorldBuilder& builder, const std::string& idPath) {
    WorldGuard guard(WorldMutex());
    const std::vector<du::SmartPtr<InstanceNode>>* level = &builder.World().Tree().roots;
    const InstanceNode* node = nullptr;
    std::size_t start = 0;
    while (start <= idPath.size()) {
        const std::size_t end = std::min(idPath.find('/', start), idPath.size());
        const du::Symbol name(idPath.substr(start, end - start));
        node = nullptr;
        for (const auto& candidate : *level)
            if (candidate->name == name) node = candidate.get();
        if (!node) return false;
        ProxyInfo* unread = node->UnreadProxy();
        level = unread ? &unread->branch : &node->children;
        start = end + 1;
    }
    return node != nullptr;
}

// Names in content sections that must name something the file built.
void CheckReferences(const std::string& name, const rapidjson::Value& value, WorldBuilder& builder,
                     const std::string& place) {
    if (name == "components" && value.IsObject()) {
        for (auto entry = value.MemberBegin(); entry != value.MemberEnd(); ++entry)
            if (!NamesInstance(builder, entry->name.GetString()))
                FailAt(place + "/" + entry->name.GetString(),
                       std::string("no instance has the idpath \"") + entry->name.GetString() + "\"");
    }
    if (name == "selection" && value.IsArray()) {
        for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
            auto scene = value[i].IsObject() ? value[i].FindMember("scene") : value[i].MemberEnd();
            if (scene != value[i].MemberEnd() && scene->value.IsString() && !builder.FindScene(scene->value.GetString()))
                FailAt(place + "/" + std::to_string(i) + "/scene",
                       std::string("no scene is named \"") + scene->value.GetString() + "\"");
        }
    }
}

// The world file's loader hands the content sections to these handlers,
// registered when the library is loaded.
struct SectionRegistrar {
    SectionRegistrar() {
        for (const std::string& name : ContentSectionNames()) {
            RegisterWorldSection(name, [name](const rapidjson::Value& value, WorldBuilder& builder,
                                              const std::string& place) {
                CheckReferences(name, value, builder, place);
                du::SmartPtr<WorldContent> content = ContentOf(builder.World());
                ReadContentSection(name, value, place, *content,
                                   [](const std::string& at, const std::string& what) { FailAt(at, what); });
            });
        }
    }
    ~SectionRegistrar() {
        for (const std::string& name : ContentSectionNames()) UnregisterWorldSection(name);
    }
};

const SectionRegistrar registrar;

}  // namespace

du::SmartPtr<WorldModel> LoadContentWorldFile(const std::string& path) {
    FolderScope scope(FolderOf(path));
    return LoadWorldFile(path);
}

const std::string& ContentLoadFolder() {
    static const std::string workingDirectory(".");
    return loadFolder.empty() ? workingDirectory : loadFolder;
}

}  // namespace devhost
