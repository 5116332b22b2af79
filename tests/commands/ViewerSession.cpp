#include "ViewerSession.h"

#include <gtest/gtest.h>

#include "basicnav/ShapeViewFlyToData.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/Application.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldModel.h"
#include "dom/ManagedObject.h"
#include "qxk/ActiveModule.h"

namespace vtest {
namespace {

void DropHost() {
    devhost::DisarmAllFaults();
    devhost::DrainHostWorker();
    devhost::DropWorld();
    devhost::DropApplication();
}

std::string DataText(const du::SmartPtr<du::RefCounted>& data) {
    if (!data) return "null";
    const auto flyTo = du::DynamicCast<basicnav::ShapeViewFlyToData>(data);
    if (!flyTo) return "other";
    return "flyto(" + std::to_string(flyTo->flyFlags) + "," + std::to_string(flyTo->fitFlags) + ")";
}

}  // namespace

ViewerSession::ViewerSession() : plugin_(WEBAPI_PLUGIN_PATH) {
    DropHost();
    devhost::LoadDefaultSampleWorld();
    if (!plugin_.IsLoaded() || !plugin_.Init() || !plugin_.CreateComponent("world", "web", "api", component_)) {
        ADD_FAILURE() << "the plug-in did not start: " << plugin_.Error();
        return;
    }
    du::SmartPtr<dom::ManagedObject> proxy;
    dom::ManagedObject::FindActor(dynamic_cast<qxk::ActiveModule&>(*component_).GetActorName(),
                                  du::Symbol("webapi::WebApiModule"), proxy);
    module = du::DynamicCast<webapi::WebApiModule>(proxy);
    EXPECT_TRUE(module);
}

ViewerSession::~ViewerSession() {
    module = nullptr;
    component_ = nullptr;
    plugin_.Terminate();
    DropHost();
}

void ViewerSession::Activate(const std::string& viewName) { ASSERT_TRUE(devhost::ActivateView(viewName)); }

du::SmartPtr<qxk::View> View(const std::string& name) { return devhost::FindViewNamed(name); }

std::vector<std::string> HostCalls(const std::string& viewName) {
    std::vector<std::string> calls;
    const du::SmartPtr<qxk::View> view = View(viewName);
    if (!view) return {"no view " + viewName};
    for (const auto& sent : devhost::WorkflowMessages(*view))
        calls.push_back(sent.workflow.str() + ":" + sent.message.str() + ":" + std::to_string(sent.value) + ":" +
                        DataText(sent.data));
    for (const int code : devhost::ZoomCodes(*view)) calls.push_back("zoom:" + std::to_string(code));
    for (const int code : devhost::ViewCommands(*view)) calls.push_back("command:" + std::to_string(code));
    return calls;
}

std::vector<std::string> ModuleCalls() {
    std::vector<std::string> calls;
    for (const auto& call : devhost::CurrentContent()->ModuleCalls()->Calls()) {
        std::string text = call.module + "." + call.method + ":" + (call.view ? call.view->GetViewState().name.str() : "null");
        if (call.method == "FlyToSelected") text += ":" + std::to_string(call.flags);
        else if (!call.text.IsNull()) text += ":" + call.text.str();
        calls.push_back(text);
    }
    return calls;
}

void ForgetModuleCalls() { devhost::CurrentContent()->ModuleCalls()->Clear(); }

}  // namespace vtest
