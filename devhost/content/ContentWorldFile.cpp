#include "devhost/content/ContentWorldFile.h"

#include "devhost/content/ContentSections.h"
#include "devhost/content/WorldContent.h"
#include "devhost/world/WorldFile.h"

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

// The world file's loader hands the content sections to these handlers,
// registered when the library is loaded.
struct SectionRegistrar {
    SectionRegistrar() {
        for (const std::string& name : ContentSectionNames()) {
            RegisterWorldSection(name, [name](const rapidjson::Value& value, WorldBuilder& builder,
                                              const std::string& place) {
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
