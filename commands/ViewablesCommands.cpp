// GetViewables: every viewable of the structure tree goes to the client's
// callback, each as its own hand-built text, with its thumbnail in Base64
// once the thumbnails have been fetched.
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "commands/ApplicationWorld.h"
#include "commands/ModuleTrace.h"
#include "commands/WebApiModuleImpl.h"
#include "du/Base64.h"
#include "du/FileSystem.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Instance.h"
#include "qxk/MultiRootContainer.h"
#include "qxk/Structure.h"
#include "qxk/Tree.h"
#include "qxk/Viewables.h"
#include "qxloader/FileEvent.h"
#include "qxloader/Loader.h"

namespace webapi {
namespace {

// The viewables of the tree, one entry each in three parallel lists. The
// viewables of an illustration package stand in its place.
class TreeVisitor : public qxk::BaseInstanceVisitor {
public:
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& node, unsigned int) override {
        const du::SmartPtr<qxk::Instance> instance(dynamic_cast<qxk::Instance*>(node.get()));
        if (!instance) return true;
        du::SmartPtr<qxk::ComponentNode> component;
        instance->GetComponentNode(component);
        std::vector<du::SmartPtr<qxk::ViewableSource>> found;
        if (component) component->GetViewableSources(found);
        for (const auto& source : found) {
            const auto* package = dynamic_cast<const qxk::IllustrateSource*>(source.get());
            if (!package) {
                Add(source, instance);
                continue;
            }
            for (const auto& nested : package->GetViewableSources()) Add(nested, instance);
        }
        return true;
    }

    std::vector<du::SmartPtr<qxk::ViewableSource>> sources;
    std::vector<du::SmartPtr<qxk::Instance>> instances;
    std::vector<du::Symbol> thumbnailFiles;

private:
    void Add(const du::SmartPtr<qxk::ViewableSource>& source, const du::SmartPtr<qxk::Instance>& instance) {
        sources.push_back(source);
        instances.push_back(instance);
        thumbnailFiles.push_back(du::Symbol::EMPTY);
    }
};

// The fetch of one thumbnail. Managed under the module, so its completion
// runs on the actor thread, between requests.
class FileEvent : public qxloader::FileEvent {
public:
    FileEvent(WebApiModuleImpl* owner, int position) : module(owner), index(position) {}

    // A failed fetch counts as done too: its viewable then goes without a
    // thumbnail.
    void OnComplete(int) override {
        if (module) module->OnThumbnailFetched(index, GetLocalPath());
    }

private:
    WebApiModuleImpl* module;
    int index;
};

// The file's bytes in Base64; empty when it cannot be opened or is empty.
std::string EncodeFile(const du::Symbol& path) {
    std::FILE* const file = du::FileSystem::qxfopen(path.safe_c_str(), "rb");
    if (!file) return std::string();
    du::FileStat stat{};
    du::FileSystem::Stat(path.safe_c_str(), &stat);
    // Zeroed, so that a file that shrank since Stat encodes zeros rather
    // than whatever the memory held.
    std::vector<char> buffer(stat.size + 1);
    const std::size_t read = std::fread(buffer.data(), 1, stat.size, file);
    static_cast<void>(read);  // the size from Stat is what is encoded
    std::string text = du::Base64::Encode(buffer.data(), stat.size);
    std::fclose(file);
    return text;
}

}  // namespace

void WebApiModuleImpl::GetViewables(const du::SmartPtr<ViewablesRequest>& request, int id) {
    viewablesRequest = request;
    viewablesRequestId = id;
    outstandingFigures = 0;

    const du::SmartPtr<qxk::World> world = ApplicationWorld();
    if (!world) return;
    du::SmartPtr<qxk::Structure> structure;
    if (!world->rootContainer || !world->rootContainer->GetPrimaryStructure(structure) || !structure) return;
    const du::SmartPtr<qxk::World> singleton = qxk::World::GetWorld();
    const du::SmartPtr<qxk::Tree> tree = singleton ? singleton->tree : nullptr;
    if (!tree) return;

    // The visitor of the latest request stays until the next one, for the
    // late fetches of that request, or until the module goes. A fetch never
    // keeps a visitor itself, so the one replaced here is free to go.
    delete viewableVisitor;
    TreeVisitor* const visitor = new TreeVisitor;
    viewableVisitor = visitor;
    tree->Visit(*visitor, qxk::BaseTree::VT_DepthFirst);

    outstandingFigures = static_cast<int>(visitor->sources.size());
    bool fetching = false;
    for (std::size_t index = 0; index < visitor->sources.size(); ++index) {
        const auto* illustration = dynamic_cast<const qxk::Illustration3dSource*>(visitor->sources[index].get());
        if (!illustration) {
            --outstandingFigures;
            continue;
        }
        // From here on an entry that is not fetched stays counted: when
        // another one is fetched, the request is never answered.
        const du::Symbol thumbnail = illustration->GetThumbnailSource();
        if (thumbnail.IsNull()) continue;
        du::SmartPtr<qxk::Anchor> anchor;
        visitor->instances[index]->GetAnchor(anchor);
        if (!anchor) continue;
        du::Symbol url;
        if (!anchor->GetURLForFileSource(thumbnail, url, false)) {
            ModuleTracer()(dp::TT_Error) << "*** Failed to get thumbnail url";
            continue;
        }
        ModuleTracer()(dp::TT_Info) << "thumbnail: " << thumbnail;
        const du::SmartPtr<qxloader::Loader> loader = qxloader::Loader::GetLoader();
        if (!loader) continue;
        const du::SmartPtr<FileEvent> event(new FileEvent(this, static_cast<int>(index)));
        ManageObject(du::SmartPtr<dom::ManagedObject>(event.get()));
        fetching = true;
        loader->GetFileForUrl(url, thumbnail, event.get(), true, false, du::Symbol::EMPTY, du::Symbol::EMPTY);
    }
    if (!fetching) SendViewables();
}

void WebApiModuleImpl::OnThumbnailFetched(int index, const du::Symbol& path) {
    --outstandingFigures;
    // A late fetch of an earlier request writes into the latest visitor at
    // its old place, when that place exists there.
    if (auto* const visitor = dynamic_cast<TreeVisitor*>(viewableVisitor)) {
        if (index >= 0 && static_cast<std::size_t>(index) < visitor->thumbnailFiles.size())
            visitor->thumbnailFiles[index] = path;
    }
    ModuleTracer()(dp::TT_Info) << "Number of outstanding figures: " << outstandingFigures;
    if (outstandingFigures == 0) SendViewables();
}

void WebApiModuleImpl::SendViewables() {
    auto* const visitor = dynamic_cast<TreeVisitor*>(viewableVisitor);
    // A request that decoded to no callback object has no one to answer.
    if (!visitor || !viewablesRequest) return;
    viewablesRequest->StartViewablesResult(viewablesRequestId);
    for (std::size_t index = 0; index < visitor->sources.size(); ++index) {
        std::ostringstream text;
        text << "{\n"
             << "\n\"viewable\":\n";
        const std::string thumbnail = EncodeFile(visitor->thumbnailFiles[index]);
        text << "{ "
             << "\"name\": \"";
        visitor->sources[index]->GetDisplayName().Print(text);
        text << "\", \"idpath\": \"";
        visitor->instances[index]->GetIdPath().Print(text);
        text << "\", \"viewableType\": \"";
        visitor->sources[index]->GetViewableType().Print(text);
        if (!thumbnail.empty()) text << "\", \"pngb64\": \"" << thumbnail;
        text << "\", \"index\": \"" << index << "\"}"
             << "}\n";
        viewablesRequest->ViewablesResult(du::Symbol(text.str()), viewablesRequestId);
    }
    viewablesRequest->EndViewablesResult(viewablesRequestId);
}

}  // namespace webapi
