// The tree watcher's teardown calls the host's tree, which may throw. Those
// calls run where the actor's exception policy sees them: on the request of
// the unregistration, or in the actor's stop hook when the module ends with
// an observer still registered. A throw there ends the actor with its trace
// entry, never the process.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CleanProcess.h"
#include "PluginClient.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/TraceLog.h"

namespace rtest {
namespace {

class Teardown : public ::testing::Test {
protected:
    void SetUp() override {
        plugin.Module().RegisterTreeObserver(plugin.Observer());
        plugin.Settle();
        ASSERT_FALSE(treeCalls.Calls().empty()) << "the observer is registered";
        devhost::TraceLog::Clear();
    }

    void ArmThrowingClose() {
        devhost::ArmFault("guitree::GuiTree::Close",
                          devhost::Fault{devhost::FaultKind::ThrowStd, "the tree would not stop"});
    }

    // The actor's entry for the exception, exactly as its clause writes it.
    std::vector<std::string> ExceptionEntry() const {
        return {"3|Actor " + std::string(plugin.ActorName().safe_c_str()) +
                " got a standard exception:- the tree would not stop\n"};
    }

    support::CleanProcess clean;
    const du::SmartPtr<devhost::WorldModel> world = support::LoadWorld("");
    support::CallRecorder treeCalls;
    support::PluginClient plugin{treeCalls.Sink()};
};

TEST_F(Teardown, ATreeThatThrowsAsItStopsOnUnregistrationEndsOnlyTheActor) {
    ArmThrowingClose();
    try {
        plugin.Module().UnRegisterTreeObserver(plugin.Observer());
        ADD_FAILURE() << "the unregistration was answered";
    } catch (const std::exception&) {
        // The actor ended on the request: the sender is failed, not answered.
    }
    devhost::DisarmAllFaults();
    EXPECT_FALSE(plugin.Serves());

    // The sender may hear of the end before the actor's entry is written;
    // once the thread is joined, the entry is there, once: the stop hook had
    // no tree left to stop.
    plugin.Terminate();
    EXPECT_EQ(support::Traces("web", "api"), ExceptionEntry());
    EXPECT_TRUE(plugin.Unload());
}

TEST_F(Teardown, ATreeThatThrowsAsItStopsAtTheModulesEndIsWrittenByTheStopHook) {
    ArmThrowingClose();
    plugin.Terminate();
    devhost::DisarmAllFaults();
    EXPECT_EQ(support::Traces("web", "api"), ExceptionEntry());
    EXPECT_TRUE(plugin.Unload());
}

// Without a fault both ends stop the tree quietly, and after an
// unregistration the module serves on and takes a new observer.
TEST_F(Teardown, AnOrderlyTeardownWritesNothingAndTheModuleServesOn) {
    plugin.Module().UnRegisterTreeObserver(plugin.Observer());
    EXPECT_TRUE(plugin.Serves());
    treeCalls.Clear();
    plugin.Module().RegisterTreeObserver(plugin.Observer());
    plugin.Settle();
    ASSERT_FALSE(treeCalls.Calls().empty());
    EXPECT_EQ(treeCalls.Calls().front(), "OnTreeMappingBegin");
    plugin.Terminate();
    EXPECT_TRUE(support::Traces("web", "api").empty());
    EXPECT_TRUE(plugin.Unload());
}

}  // namespace
}  // namespace rtest
