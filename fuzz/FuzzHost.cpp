#include "FuzzHost.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/client/PluginLibrary.h"
#include "devhost/platform/RawMessages.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/Application.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/ProgressDisplays.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldModel.h"
#include "qxk/ActiveModule.h"

namespace fuzz {
namespace {

// A client object that no interface of the module names: a handle to it
// decodes, and the module must cope with what the cast then gives.
class Bystander : public dom::ManagedObject {
public:
    void HandleMessage(const dom::MessagePtr&) override {}
};

void Discard(const devhost::ReceivedCall&) {}

}  // namespace

struct FuzzHost::Parts {
    devhost::PluginLibrary plugin{WEBAPI_PLUGIN_PATH};
    du::SmartPtr<du::RefCounted> component;
    devhost::ClientActor client{"FuzzClient"};
    du::SmartPtr<devhost::TreeObserverReceiver> observer{new devhost::TreeObserverReceiver(Discard)};
    du::SmartPtr<devhost::ViewablesRequestReceiver> viewables{new devhost::ViewablesRequestReceiver(Discard)};
    du::SmartPtr<Bystander> bystander{new Bystander};
    du::SmartPtr<dom::ManagedObject> moduleObject;
    du::SmartPtr<webapi::WebApiModule> module;
};

FuzzHost& FuzzHost::Get() {
    static FuzzHost host;
    return host;
}

FuzzHost::FuzzHost() {
    // The host's registries that the module's actor reaches (its progress
    // displays' refresh timers run until the plug-in ends) are made before
    // this object, so that at exit they go after it has ended the plug-in.
    devhost::ProgressDisplays();
    devhost::LoadDefaultSampleWorld();
    parts_ = new Parts;
    Parts& p = *parts_;
    if (!p.plugin.IsLoaded() || !p.plugin.Init() || !p.plugin.CreateComponent("world", "web", "api", p.component))
        Finding("the plug-in did not start: " + p.plugin.Error());
    if (!p.client.Adopt(p.observer) || !p.client.Adopt(p.viewables) || !p.client.Adopt(p.bystander))
        Finding("the client actor did not take its objects");
    const du::Symbol actorName = dynamic_cast<qxk::ActiveModule&>(*p.component).GetActorName();
    dom::ManagedObject::FindActor(actorName, "webapi::WebApiModule", p.moduleObject);
    p.module = du::DynamicCast<webapi::WebApiModule>(p.moduleObject);
    if (!p.module) Finding("no module actor");
}

FuzzHost::~FuzzHost() {
    SettleAndCheck();
    parts_->module.reset();
    parts_->moduleObject.reset();
    parts_->plugin.Terminate();
    parts_->component.reset();
    delete parts_;
    devhost::DrainHostWorker();
    devhost::DropWorld();
    devhost::DropApplication();
}

webapi::WebApiModule& FuzzHost::Module() { return *parts_->module; }

const du::SmartPtr<dom::ManagedObject>& FuzzHost::ModuleObject() const { return parts_->moduleObject; }

std::string FuzzHost::ActorName() const {
    return dynamic_cast<qxk::ActiveModule&>(*parts_->component).GetActorName().str();
}

void FuzzHost::RegisterTreeObserver() {
    parts_->module->RegisterTreeObserver(parts_->observer);
    SettleAndCheck();
}

void FuzzHost::CloseLoadGroup() {
    parts_->module->LoadInstances("update begin");
    parts_->module->UnloadInstances("update end");
}

devhost::HandleValue FuzzHost::Handle(unsigned kind, short table) const {
    devhost::HandleValue handle;
    switch (kind % 7) {
        case 0: break;
        case 1: handle = devhost::MakeHandle(parts_->moduleObject, table); break;
        case 2: handle = devhost::MakeHandle(parts_->observer, table); break;
        case 3: handle = devhost::MakeHandle(parts_->viewables, table); break;
        case 4: handle = devhost::MakeHandle(parts_->bystander, table); break;
        case 5: handle = devhost::MakeHandle(parts_->bystander, table); handle.object += 1000000; break;
        case 6: handle = devhost::MakeHandle(parts_->moduleObject, table); handle.host += 77; break;
    }
    handle.table = table;
    return handle;
}

void FuzzHost::SettleAndCheck() {
    Parts& p = *parts_;
    // The client's objects share one actor: one of them stands for all. An
    // actor that ended, the module's or the client's, is what is looked for.
    if (!devhost::Settle({p.moduleObject, p.observer})) Finding("the module or the client no longer serves");
    // The host's own records, which would otherwise grow with every input
    // and slow the next: the trace, the list of progress displays that
    // every refresh of a running display searches (a display no longer
    // listed stops refreshing; the module does not read the list), and the
    // scenes' records of shape and colour calls.
    devhost::TraceLog::Clear();
    devhost::ClearProgressDisplays();
    devhost::ClearCallRecords();
}

void FuzzHost::Finding(const std::string& what) {
    std::fprintf(stderr, "==FINDING== %s\n", what.c_str());
    std::abort();
}

}  // namespace fuzz
