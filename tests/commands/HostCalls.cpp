#include "HostCalls.h"

#include "CleanProcess.h"
#include "basicnav/ShapeViewFlyToData.h"
#include "devhost/content/WorldContent.h"
#include "devhost/world/WorldControl.h"
#include "qxk/View.h"

namespace cmdtest {
namespace {

std::string DataText(const du::SmartPtr<du::RefCounted>& data) {
    if (!data) return "null";
    const auto flyTo = du::DynamicCast<basicnav::ShapeViewFlyToData>(data);
    if (!flyTo) return "other";
    return "flyto(" + std::to_string(flyTo->flyFlags) + "," + std::to_string(flyTo->fitFlags) + ")";
}

}  // namespace

std::vector<std::string> HostCalls(const std::string& viewName) {
    std::vector<std::string> calls;
    const du::SmartPtr<qxk::View> view = devhost::FindViewNamed(viewName);
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

std::vector<std::string> CommandTraces() { return support::Traces("web", "api"); }

}  // namespace cmdtest
