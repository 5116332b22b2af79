#include "RecordingModule.h"

#include <pthread.h>

#include <stdexcept>
#include <tuple>
#include <type_traits>

namespace mtest {
namespace {

std::mutex s_mutex;
std::vector<std::string> s_calls;
RecordingModule::StopEnd s_stopEnd = RecordingModule::StopEnd::Return;
RecordingModule::ThreadFacts s_lastCallThread;

RecordingModule::ThreadFacts CurrentThread() {
    RecordingModule::ThreadFacts facts;
    char name[16] = {};
    if (pthread_getname_np(pthread_self(), name, sizeof name) == 0) facts.name = name;
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstacksize(&attributes, &facts.stackSize);
        pthread_attr_destroy(&attributes);
    }
    return facts;
}

std::string Text(const du::Symbol& symbol) { return symbol.IsNull() ? "<null>" : symbol.str(); }
std::string Text(const std::vector<du::Symbol>& symbols) {
    std::string text = "[";
    for (const du::Symbol& symbol : symbols) text += Text(symbol) + ";";
    return text + "]";
}
std::string Text(bool value) { return value ? "true" : "false"; }
std::string Text(int value) { return std::to_string(value); }
std::string Text(unsigned int value) { return std::to_string(value); }
std::string Text(double value) { return std::to_string(value); }
template <class I>
std::string Text(const du::SmartPtr<I>& object) {
    return object ? "object" : "null";
}

template <class... Arguments>
std::string Call(const char* name, const std::tuple<Arguments&...>& arguments) {
    std::string call = name;
    std::apply([&call](const auto&... argument) { ((call += " " + Text(argument)), ...); }, arguments);
    return call;
}

void FillOut(const du::Symbol&) {}
void FillOut(du::Symbol& out) { out = du::Symbol("annotations"); }
template <class T>
void FillOut(const T&) {}

template <class Result, class... Arguments>
Result Answer(const char* name, const std::tuple<Arguments&...>& arguments) {
    std::apply([](auto&... argument) { (FillOut(argument), ...); }, arguments);
    if constexpr (std::is_same_v<Result, du::Symbol>) return du::Symbol((std::string(name) + " result").c_str());
    else if constexpr (std::is_same_v<Result, unsigned int>) return 7;
}

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

RecordingModule::ThreadFacts RecordingModule::LastCallThread() {
    std::lock_guard<std::mutex> hold(s_mutex);
    return s_lastCallThread;
}

void RecordingModule::Record(const std::string& call) {
    ThreadFacts thread = CurrentThread();
    std::lock_guard<std::mutex> hold(s_mutex);
    s_calls.push_back(call);
    s_lastCallThread = std::move(thread);
}

#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) \
    Result RecordingModule::Name Parameters {                                     \
        Record(Call(#Name, std::tie Arguments));                                  \
        return Answer<Result>(#Name, std::tie Arguments);                         \
    }
#include "remote/WebApiModule.def"

}  // namespace mtest
