#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "dom/MessageQueue.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "host/WebApiModuleThread.h"
#include "loader/ShapeSceneLoader.h"
#include "qxk/ActiveModuleThread.h"

namespace mtest {

// The module's actor object with the methods under test writing down how
// they were called, into one log for the process.
class RecordingModule : public webapi::WebApiModuleThread {
public:
    static std::vector<std::string> Calls();
    static void ClearCalls();

    // The thread that served the latest call, as the system reports it.
    struct ThreadFacts {
        std::string name;
        std::size_t stackSize = 0;
    };
    static ThreadFacts LastCallThread();

    // How the next OnActorStopped ends; ClearCalls sets it back to Return.
    enum class StopEnd { Return, ThrowStd, ThrowOther };
    static void SetStopEnd(StopEnd end);

    // Stands in for the module's own hook, which the actor thread calls on
    // the concrete class.
    void OnActorStopped();

    // Every method writes "Name" and its arguments, blank-separated; a string
    // result is "Name result", an unsigned one 7, and the out string of
    // GetAllModelAnnotations becomes "annotations".
#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) Result Name Parameters override;
#include "remote/WebApiModule.def"

    const du::SmartPtr<qxkapp::SceneManager>& SceneManagerField() const { return sceneManager; }
    const du::SmartPtr<webapi::ShapeSceneLoader>& SceneLoaderField() const { return sceneLoader; }

private:
    static void Record(const std::string& call);
};

using RecordingHost = qxk::ActiveModuleThread<RecordingModule, dom::GenericMessageQueue>;

}  // namespace mtest
