#include "TreeSession.h"

#include <gtest/gtest.h>

#include "devhost/platform/Faults.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldFile.h"
#include "qxk/ActiveModule.h"

namespace ttest {

TreeSession::TreeSession(const std::string& worldText) : plugin_(WEBAPI_PLUGIN_PATH) {
    try {
        devhost::LoadWorldText(worldText);
    } catch (const devhost::WorldFileError& e) {
        ADD_FAILURE() << e.what();
    }
    client_ = std::make_unique<devhost::ClientActor>("TreeClient");
    observer = new devhost::TreeObserverReceiver([this](const devhost::ReceivedCall& call) {
        std::lock_guard<std::mutex> hold(mutex_);
        calls_.push_back(call.arguments.empty() ? call.method : call.method + " " + call.arguments[0]);
    });
    client_->Adopt(observer);
    EXPECT_TRUE(plugin_.IsLoaded()) << plugin_.Error();
    EXPECT_TRUE(plugin_.Init());
    EXPECT_TRUE(plugin_.CreateComponent("world", "web", "api", component_));
    du::SmartPtr<dom::ManagedObject> proxy;
    const du::Symbol name = dynamic_cast<qxk::ActiveModule&>(*component_).GetActorName();
    dom::ManagedObject::FindActor(name, "webapi::WebApiModule", proxy);
    module = du::DynamicCast<webapi::WebApiModule>(proxy);
    EXPECT_TRUE(module);
}

TreeSession::~TreeSession() {
    if (!terminated_) Terminate();
    client_.reset();
    devhost::DisarmAllFaults();
    devhost::DropApplication();
    devhost::DropWorld();
    devhost::ClearProgressDisplays();
}

void TreeSession::Settle() {
    devhost::Settle({du::DynamicCast<dom::ManagedObject>(module), observer});
}

std::vector<std::string> TreeSession::Calls() {
    std::lock_guard<std::mutex> hold(mutex_);
    return calls_;
}

std::vector<std::string> TreeSession::Documents() {
    std::vector<std::string> documents;
    for (const std::string& call : Calls()) {
        const auto space = call.find(' ');
        if (space != std::string::npos) documents.push_back(call.substr(space + 1));
    }
    return documents;
}

void TreeSession::Clear() {
    std::lock_guard<std::mutex> hold(mutex_);
    calls_.clear();
}

void TreeSession::Register() { module->RegisterTreeObserver(du::SmartPtr<webapi::TreeObserver>(observer)); }

void TreeSession::Select(const std::string& request) { module->SelectTreeNodes(du::Symbol(request)); }

void TreeSession::Terminate() {
    terminated_ = true;
    Settle();
    module = nullptr;
    plugin_.Terminate();
    component_ = nullptr;
    EXPECT_TRUE(plugin_.Unload()) << "the plug-in stays in memory";
}

}  // namespace ttest
