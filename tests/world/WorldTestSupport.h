#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldFile.h"
#include "dom/ManagedObject.h"
#include "guitree/GuiInterface.h"
#include "qxk/BaseInstance.h"
#include "tests/platform/TestActor.h"

namespace wtest {

// A managed object served on an actor thread of its own: the owner of
// tree models and the manager of events in these tests.
class Owner {
public:
    Owner();
    ~Owner();

    // Waits until everything posted to the actor so far has run, after the
    // host worker has finished what it was given.
    void Sync();
    std::thread::id ThreadId() const { return threadId_; }

    du::SmartPtr<dom::ManagedObject> object;

private:
    ptest::TestActor actor_;
    std::thread::id threadId_;
};

// One call that a tree model made on its interface.
struct GuiCall {
    std::string what;  // "StartTreeUpdate", "InstanceCreate", ...
    std::string path;  // the instance's idpath, for instance calls
    std::thread::id thread;
};

// A tree interface that records what the tree model tells it.
class RecordingGui : public guitree::GuiInterface {
public:
    void SetSceneViewListener(const du::SmartPtr<guitree::SceneViewListener>& l) override;
    void StartTreeUpdate() override { Note("StartTreeUpdate", ""); }
    void FinishTreeUpdate() override { Note("FinishTreeUpdate", ""); }
    void ClearTree() override { Note("ClearTree", ""); }
    void PostOnActiveViewChanged(const du::SmartPtr<qxk::View>&, bool) override { Note("ActiveViewChanged", ""); }
    void InstanceCreate(const du::SmartPtr<qxk::BaseInstance>& instance, const du::SmartPtr<qxk::BaseInstance>&,
                        bool) override {
        Note("InstanceCreate", instance->GetIdPath().str());
    }
    void InstanceRemove(const du::SmartPtr<qxk::BaseInstance>& instance,
                        const du::SmartPtr<qxk::BaseInstance>&) override {
        Note("InstanceRemove", instance->GetIdPath().str());
    }
    void UpdateVisAndTypeIcons(const guitree::VisAndIconChanges& changes) override;
    void UpdateVisAndTypeIconVisibleChanges(const du::SmartPtr<qxk::View>&,
                                            const guitree::VisAndIconChanges& changes) override;

    std::vector<GuiCall> Calls();
    // Names of the calls, in order, with idpaths for instance calls.
    std::vector<std::string> Names();
    // The last visibility state reported for an idpath, or 0.
    int LastState(const std::string& path);
    void Clear();

    du::SmartPtr<guitree::SceneViewListener> listener;

private:
    void Note(const std::string& what, const std::string& path);
    void NoteChanges(const std::string& what, const guitree::VisAndIconChanges& changes);

    std::mutex mutex_;
    std::vector<GuiCall> calls_;
    std::vector<std::pair<std::string, int>> states_;
};

// Loads a world text, failing the test with the loader's words on error.
du::SmartPtr<devhost::WorldModel> Load(const std::string& text);

// Drops world and application at the end of a test.
struct CleanWorld {
    ~CleanWorld();
};

}  // namespace wtest
