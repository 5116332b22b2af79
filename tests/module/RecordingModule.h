#pragma once

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

    // How the next OnActorStopped ends; ClearCalls sets it back to Return.
    enum class StopEnd { Return, ThrowStd, ThrowOther };
    static void SetStopEnd(StopEnd end);

    // Stands in for the module's own hook, which the actor thread calls on
    // the concrete class.
    void OnActorStopped();

    du::Symbol GetCurrentSelection() override;
    void SetInstancesColor(const std::vector<du::Symbol>& instances, bool recursive, const du::Symbol& color) override;
    du::Symbol GetInstanceColor(const du::Symbol& instance) override;
    void LoadInstances(const du::Symbol& request) override;
    void AddAnnotationLabel(const du::Symbol& text, double x, double y, double z) override;
    unsigned int GetNumberOfAnnotationSets() override;
    void GetViewables(const du::SmartPtr<webapi::ViewablesRequest>& request, int requestId) override;
    void RegisterTreeObserver(const du::SmartPtr<webapi::TreeObserver>& observer) override;
    void GetAllModelAnnotations(du::Symbol& annotations) override;

    const du::SmartPtr<qxkapp::SceneManager>& SceneManagerField() const { return sceneManager; }
    const du::SmartPtr<webapi::ShapeSceneLoader>& SceneLoaderField() const { return sceneLoader; }

private:
    static void Record(const std::string& call);
};

using RecordingHost = qxk::ActiveModuleThread<RecordingModule, dom::GenericMessageQueue>;

}  // namespace mtest
