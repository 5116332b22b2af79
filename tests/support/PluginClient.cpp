#include "PluginClient.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "devhost/world/HostWorker.h"
#include "devhost/world/Settle.h"
#include "dom/ManagedObject.h"
#include "qxk/ActiveModule.h"

namespace support {
namespace {

devhost::CallbackSink OrNothing(devhost::CallbackSink sink) {
    return sink ? sink : [](const devhost::ReceivedCall&) {};
}

}  // namespace

PluginClient::PluginClient(devhost::CallbackSink treeSink, devhost::CallbackSink viewablesSink)
    : plugin_(WEBAPI_PLUGIN_PATH),
      observer_(new devhost::TreeObserverReceiver(OrNothing(std::move(treeSink)))),
      viewables_(new devhost::ViewablesRequestReceiver(OrNothing(std::move(viewablesSink)))) {
    if (plugin_.Init() && plugin_.CreateComponent("world", "web", "api", component_) && client_.Adopt(observer_) &&
        client_.Adopt(viewables_)) {
        if (const auto* active = dynamic_cast<const qxk::ActiveModule*>(component_.get())) {
            actorName_ = active->GetActorName();
            dom::ManagedObject::FindActor(actorName_, "webapi::WebApiModule", moduleObject_);
        }
        module_ = du::DynamicCast<webapi::WebApiModule>(moduleObject_);
    }
    if (!module_) {
        // No destructor runs for a throwing constructor: the actor, if it
        // started, ends here before the library goes.
        Terminate();
        throw std::runtime_error("the plug-in did not start: " + plugin_.Error());
    }
}

PluginClient::~PluginClient() { Unload(); }

void PluginClient::Settle() {
    // The callback objects share the client's actor, so the observer stands
    // for both.
    if (moduleObject_) {
        devhost::Settle({moduleObject_, observer_});
    } else {
        devhost::DrainHostWorker();
        client_.Settle();
    }
}

bool PluginClient::Serves() {
    if (!module_) return false;
    try {
        module_->GetNumberOfAnnotationSets();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void PluginClient::Terminate() {
    if (terminated_) return;
    terminated_ = true;
    module_.reset();
    moduleObject_.reset();
    plugin_.Terminate();
    component_.reset();
}

bool PluginClient::Unload() {
    Terminate();
    return plugin_.Unload();
}

devhost::CallbackSink CallRecorder::Sink() {
    return [this](const devhost::ReceivedCall& call) {
        std::string text = call.method;
        for (std::size_t i = 0; i < call.arguments.size(); ++i) text += (i ? "|" : afterMethod_) + call.arguments[i];
        std::lock_guard<std::mutex> hold(lock_);
        calls_.push_back(text);
    };
}

std::vector<std::string> CallRecorder::Calls() {
    std::lock_guard<std::mutex> hold(lock_);
    return calls_;
}

void CallRecorder::Clear() {
    std::lock_guard<std::mutex> hold(lock_);
    calls_.clear();
}

}  // namespace support
