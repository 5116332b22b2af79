#include "PluginSession.h"

#include <stdexcept>

#include "TestWorlds.h"
#include "devhost/content/ContentWorldFile.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/world/Application.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldModel.h"
#include "dom/ManagedObject.h"
#include "qxk/ActiveModule.h"

namespace cmdtest {

PluginSession::PluginSession() : plugin_(WEBAPI_PLUGIN_PATH) {
    if (!plugin_.IsLoaded() || !plugin_.Init() || !plugin_.CreateComponent("world", "web", "api", component_))
        throw std::runtime_error("the plug-in did not start: " + plugin_.Error());
    viewables_ = new devhost::ViewablesRequestReceiver([this](const devhost::ReceivedCall& call) {
        std::string text = call.method + "(";
        for (std::size_t i = 0; i < call.arguments.size(); ++i) text += (i ? "|" : "") + call.arguments[i];
        std::lock_guard<std::mutex> hold(lock_);
        received_.push_back(text + ")");
    });
    client_.Adopt(viewables_);
    du::SmartPtr<dom::ManagedObject> proxy;
    const du::Symbol actorName = dynamic_cast<qxk::ActiveModule&>(*component_).GetActorName();
    dom::ManagedObject::FindActor(actorName, "webapi::WebApiModule", proxy);
    module_ = du::DynamicCast<webapi::WebApiModule>(proxy);
    if (!module_) throw std::runtime_error("no module actor");
}

PluginSession::~PluginSession() {
    module_.reset();
    plugin_.Terminate();
    component_.reset();
    plugin_.Unload();
}

void PluginSession::Settle() {
    devhost::Settle({du::DynamicCast<dom::ManagedObject>(module_), viewables_});
}

std::vector<std::string> PluginSession::Received() {
    Settle();
    std::lock_guard<std::mutex> hold(lock_);
    return received_;
}

std::vector<std::string> CommandTraces() {
    std::vector<std::string> found;
    for (const devhost::TraceEntry& entry : devhost::TraceLog::Entries()) {
        if (entry.module == "web" && entry.name == "api" && entry.text.find("shutting down queue") == std::string::npos)
            found.push_back(std::to_string(entry.type) + "|" + entry.text);
    }
    return found;
}

struct WorldFile::Files {
    ctest::TempFolder folder;
};

WorldFile::WorldFile(const std::string& text) : files_(new Files) {
    files_->folder.Write("world.json", text);
    devhost::LoadContentWorldFile(files_->folder.Path() + "/world.json");
}

WorldFile::~WorldFile() { delete files_; }

const std::string& WorldFile::Folder() const { return files_->folder.Path(); }

CleanProcess::CleanProcess() {
    devhost::DropWorld();
    devhost::DropApplication();
    devhost::TraceLog::Clear();
}

CleanProcess::~CleanProcess() {
    devhost::DisarmAllFaults();
    devhost::DrainHostWorker();
    devhost::DropWorld();
    devhost::DropApplication();
}

}  // namespace cmdtest
