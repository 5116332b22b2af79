#include "PluginClient.h"

#include <exception>

#include "devhost/platform/Faults.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/Application.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldModel.h"
#include "dom/ManagedObject.h"
#include "qxk/ActiveModule.h"

namespace rtest {

devhost::CallbackSink CallRecorder::Sink() {
    return [this](const devhost::ReceivedCall& call) {
        std::string text = call.method;
        for (const std::string& argument : call.arguments) text += "|" + argument;
        std::lock_guard<std::mutex> hold(lock_);
        calls_.push_back(text);
    };
}

std::vector<std::string> CallRecorder::Calls() {
    std::lock_guard<std::mutex> hold(lock_);
    return calls_;
}

PluginClient::PluginClient()
    : plugin_(WEBAPI_PLUGIN_PATH),
      observer_(new devhost::TreeObserverReceiver(treeCalls_.Sink())),
      viewables_(new devhost::ViewablesRequestReceiver(viewableCalls_.Sink())) {
    if (!plugin_.Init() || !plugin_.CreateComponent("world", "web", "api", component_)) return;
    if (!client_.Adopt(observer_) || !client_.Adopt(viewables_)) return;
    const auto* active = dynamic_cast<const qxk::ActiveModule*>(component_.get());
    if (!active || !dom::ManagedObject::FindActor(active->GetActorName(), "webapi::WebApiModule", moduleObject_))
        return;
    module_ = du::DynamicCast<webapi::WebApiModule>(moduleObject_);
}

PluginClient::~PluginClient() { Unload(); }

void PluginClient::Settle() {
    if (moduleObject_)
        devhost::Settle({moduleObject_, observer_});
    else
        devhost::DrainHostWorker();
    client_.Settle();
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

SampleWorldProcess::SampleWorldProcess() { devhost::LoadDefaultSampleWorld(); }

SampleWorldProcess::~SampleWorldProcess() {
    devhost::DisarmAllFaults();
    devhost::DrainHostWorker();
    devhost::DropWorld();
    devhost::DropApplication();
}

}  // namespace rtest
