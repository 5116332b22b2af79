#include "PluginSession.h"

#include <stdexcept>

#include "devhost/world/Settle.h"
#include "dom/ManagedObject.h"
#include "qxk/ActiveModule.h"

namespace support {

PluginSession::PluginSession() : plugin_(WEBAPI_PLUGIN_PATH) {
    if (!plugin_.IsLoaded() || !plugin_.Init() || !plugin_.CreateComponent("world", "web", "api", component_))
        throw std::runtime_error("the plug-in did not start: " + plugin_.Error());
    viewables_ = new devhost::ViewablesRequestReceiver([this](const devhost::ReceivedCall& call) { Record(call); });
    treeObserver_ = new devhost::TreeObserverReceiver([this](const devhost::ReceivedCall& call) { Record(call); });
    client_.Adopt(viewables_);
    client_.Adopt(treeObserver_);
    du::SmartPtr<dom::ManagedObject> proxy;
    const du::Symbol actorName = dynamic_cast<qxk::ActiveModule&>(*component_).GetActorName();
    dom::ManagedObject::FindActor(actorName, "webapi::WebApiModule", proxy);
    module_ = du::DynamicCast<webapi::WebApiModule>(proxy);
    if (!module_) throw std::runtime_error("no module actor");
}

PluginSession::~PluginSession() { End(); }

void PluginSession::Record(const devhost::ReceivedCall& call) {
    std::string text = call.method;
    for (std::size_t i = 0; i < call.arguments.size(); ++i) text += (i ? "|" : " ") + call.arguments[i];
    std::lock_guard<std::mutex> hold(lock_);
    received_.push_back(text);
}

void PluginSession::RegisterTreeObserver() {
    module_->RegisterTreeObserver(du::SmartPtr<webapi::TreeObserver>(treeObserver_));
    Settle();
}

void PluginSession::SelectTreeNodes(const std::string& request) { module_->SelectTreeNodes(du::Symbol(request)); }

void PluginSession::Settle() {
    devhost::Settle({du::DynamicCast<dom::ManagedObject>(module_), viewables_, treeObserver_});
}

std::vector<std::string> PluginSession::Received() {
    Settle();
    std::lock_guard<std::mutex> hold(lock_);
    return received_;
}

std::vector<std::string> PluginSession::Documents() {
    std::vector<std::string> documents;
    for (const std::string& call : Received()) {
        const auto space = call.find(' ');
        if (space != std::string::npos) documents.push_back(call.substr(space + 1));
    }
    return documents;
}

void PluginSession::ForgetReceived() {
    std::lock_guard<std::mutex> hold(lock_);
    received_.clear();
}

void PluginSession::End() {
    if (!plugin_.IsLoaded()) return;
    Settle();
    module_.reset();
    plugin_.Terminate();
    component_.reset();
    EXPECT_TRUE(plugin_.Unload()) << "the plug-in stays in memory";
}

}  // namespace support
