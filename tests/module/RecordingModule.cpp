#include "RecordingModule.h"

#include <stdexcept>

namespace mtest {
namespace {

std::mutex s_mutex;
std::vector<std::string> s_calls;
RecordingModule::StopEnd s_stopEnd = RecordingModule::StopEnd::Return;

std::string Text(const du::Symbol& symbol) { return symbol.IsNull() ? "<null>" : symbol.str(); }

}  // namespace

std::vector<std::string> RecordingModule::Calls() {
    std::lock_guard<std::mutex> hold(s_mutex);
    return s_calls;
}

void RecordingModule::ClearCalls() {
    std::lock_guard<std::mutex> hold(s_mutex);
    s_calls.clear();
    s_stopEnd = StopEnd::Return;
}

void RecordingModule::SetStopEnd(StopEnd end) {
    std::lock_guard<std::mutex> hold(s_mutex);
    s_stopEnd = end;
}

void RecordingModule::OnActorStopped() {
    Record("OnActorStopped");
    StopEnd end;
    {
        std::lock_guard<std::mutex> hold(s_mutex);
        end = s_stopEnd;
    }
    if (end == StopEnd::ThrowStd) throw std::runtime_error("stop failed");
    if (end == StopEnd::ThrowOther) throw 7;
}

void RecordingModule::Record(const std::string& call) {
    std::lock_guard<std::mutex> hold(s_mutex);
    s_calls.push_back(call);
}

du::Symbol RecordingModule::GetCurrentSelection() {
    Record("GetCurrentSelection");
    return du::Symbol("selection");
}

void RecordingModule::SetInstancesColor(const std::vector<du::Symbol>& instances, bool recursive,
                                        const du::Symbol& color) {
    std::string call = "SetInstancesColor [";
    for (const du::Symbol& instance : instances) call += Text(instance) + ";";
    Record(call + "] " + (recursive ? "true " : "false ") + Text(color));
}

du::Symbol RecordingModule::GetInstanceColor(const du::Symbol& instance) {
    Record("GetInstanceColor " + Text(instance));
    return du::Symbol("ff0000");
}

void RecordingModule::LoadInstances(const du::Symbol& request) { Record("LoadInstances " + Text(request)); }

void RecordingModule::AddAnnotationLabel(const du::Symbol& text, double x, double y, double z) {
    Record("AddAnnotationLabel " + Text(text) + " " + std::to_string(x) + " " + std::to_string(y) + " " +
           std::to_string(z));
}

unsigned int RecordingModule::GetNumberOfAnnotationSets() {
    Record("GetNumberOfAnnotationSets");
    return 7;
}

void RecordingModule::GetViewables(const du::SmartPtr<webapi::ViewablesRequest>& request, int requestId) {
    Record(std::string("GetViewables ") + (request ? "object " : "null ") + std::to_string(requestId));
}

void RecordingModule::RegisterTreeObserver(const du::SmartPtr<webapi::TreeObserver>& observer) {
    Record(std::string("RegisterTreeObserver ") + (observer ? "object" : "null"));
}

void RecordingModule::GetAllModelAnnotations(du::Symbol& annotations) {
    Record("GetAllModelAnnotations " + Text(annotations));
    annotations = du::Symbol("annotations");
}

}  // namespace mtest
