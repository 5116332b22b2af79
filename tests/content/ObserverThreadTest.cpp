// Observers of selections and workflows hear on the actor thread of the
// object that owns them, never on the thread that made the change, and not
// at all once that actor has ended: their code may be a plug-in's.

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "CleanProcess.h"
#include "ContentTestSupport.h"
#include "TestWorlds.h"
#include "WorldFile.h"
#include "devhost/content/SceneContent.h"
#include "devhost/world/WorldControl.h"
#include "qxk/Scene.h"
#include "qxk/Selection.h"
#include "qxk/View.h"
#include "qxk/WorkflowManager.h"
#include "qxk/WorkflowManagerObserver.h"
#include "qxkapp/ViewerWorkflowManagerObserver.h"

namespace {

// Notes the thread of every call it hears.
class ThreadRecorder : public qxk::SelectionObserver,
                       public qxk::WorkflowManagerObserver,
                       public qxkapp::ViewerWorkflowManagerObserver,
                       public dom::ManagedObject {
public:
    void OnSelectionChanged(unsigned int, std::size_t) const override { Note(); }
    void OnWorkflowMessage(const du::Symbol&, const du::Symbol&, int) override { Note(); }
    void OnViewerWorkflowMessage(const du::SmartPtr<qxk::View>&, const du::Symbol&, const du::Symbol&) override {
        Note();
    }

    std::vector<std::thread::id> Threads() const {
        std::lock_guard<std::mutex> hold(lock_);
        return threads_;
    }

private:
    void Note() const {
        std::lock_guard<std::mutex> hold(lock_);
        threads_.push_back(std::this_thread::get_id());
    }

    mutable std::mutex lock_;
    mutable std::vector<std::thread::id> threads_;
};

class ObserverThreads : public ::testing::Test {
protected:
    void SetUp() override {
        devhost::FindSceneNamed("Model")->GetSelectionManager(selection);
        devhost::FindViewNamed("Main")->GetWorkflowManager(workflows);
        ASSERT_TRUE(selection && workflows);
        actor->Manage(recorder);
        ASSERT_TRUE(selection->RegisterObserver(0, *recorder));
        workflows->AddWorkflowObserver(recorder);
        workflows->AddViewerObserver(recorder);
    }

    void ChangeSelectionAndSendAWorkflowMessage() {
        ASSERT_TRUE(devhost::SetSceneSelection("Model", 0, {devhost::SelectionItemDesc{true, "groupselectionitem", {}, {}}}));
        workflows->SendWorkflowMessage("measure", "start", 1, nullptr);
    }

    support::CleanProcess clean;
    support::WorldFile file{ctest::SmallWorld("")};
    std::unique_ptr<ctest::Actor> actor{new ctest::Actor};
    du::SmartPtr<ThreadRecorder> recorder{new ThreadRecorder};
    du::SmartPtr<qxk::SelectionManager> selection;
    du::SmartPtr<qxk::WorkflowManager> workflows;
};

TEST_F(ObserverThreads, SelectionWorkflowAndViewerObserversHearOnTheirOwnersActorThread) {
    ChangeSelectionAndSendAWorkflowMessage();
    ASSERT_TRUE(actor->SettleUntil([&] { return recorder->Threads().size() == 3; }));
    for (const std::thread::id& thread : recorder->Threads()) EXPECT_EQ(actor->ThreadId(), thread);
}

TEST_F(ObserverThreads, OnceTheirActorHasEndedTheyHearNothing) {
    actor.reset();
    ChangeSelectionAndSendAWorkflowMessage();
    EXPECT_TRUE(recorder->Threads().empty());
}

}  // namespace
