// The actor's life: start-up, the exception policy of its loop, and its end.
#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "ModuleTestSupport.h"
#include "RecordingModule.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/RawMessages.h"
#include "dom/ManagedObject.h"
#include "du/Symbol.h"

namespace mtest {
namespace {

class ActorThreadTest : public ::testing::Test {
protected:
    void SetUp() override {
        devhost::DisarmAllFaults();
        devhost::TraceLog::Clear();
        RecordingModule::ClearCalls();
    }
    void TearDown() override { devhost::DisarmAllFaults(); }

    static du::SmartPtr<dom::ManagedObject> FindModule(RecordingHost& host) {
        du::SmartPtr<dom::ManagedObject> module;
        EXPECT_TRUE(dom::ManagedObject::FindActor(host.GetActorName(), du::Symbol("webapi::WebApiModule"), module));
        return module;
    }

    // The entries of the thread object's tracer, oldest first.
    static std::vector<devhost::TraceEntry> ActorEntries() {
        std::vector<devhost::TraceEntry> entries = TraceEntriesOf("web");
        for (const auto& entry : entries) EXPECT_EQ(entry.name, "api");
        return entries;
    }

    static void ExpectShutdownLine(const devhost::TraceEntry& entry, const std::string& queueDigits) {
        EXPECT_EQ(entry.type, -1);
        EXPECT_TRUE(std::regex_match(
            entry.text, std::regex("Actor WebApiModuleThread- shutting down queue 0x" + queueDigits + "\n")))
            << entry.text;
    }

    // The actor's trace was one entry of the type and text given, then the
    // shutdown line naming the queue; gives that line.
    static std::string ExpectEntryThenShutdown(int type, const std::string& text,
                                               const std::string& queueDigits = "[0-9a-f]{8}") {
        const auto entries = ActorEntries();
        if (entries.size() != 2u) {
            ADD_FAILURE() << entries.size() << " entries";
            return "";
        }
        EXPECT_EQ(entries[0].type, type);
        EXPECT_EQ(entries[0].text, text);
        ExpectShutdownLine(entries[1], queueDigits);
        return entries[1].text;
    }
};

// The fault armed at one host point while the actor starts or serves, and
// the entry that the actor's clause for it writes.
struct ClauseFault {
    devhost::FaultKind kind;
    int type;
    std::string entry;
};

TEST_F(ActorThreadTest, OrderlyEndWritesTheShutdownLineOnce) {
    auto host = std::make_unique<RecordingHost>("web", "api");
    ASSERT_TRUE(host->Start(true));
    EXPECT_EQ(host->GetActorName(), "WebApiModuleThread-");
    EXPECT_EQ(devhost::SendRawMessage(FindModule(*host), 0, 3, {}, true)->GetValueCount(), 0u);
    host.reset();

    const auto entries = ActorEntries();
    ASSERT_EQ(entries.size(), 1u);
    ExpectShutdownLine(entries[0], "[0-9a-f]{8}");
    EXPECT_EQ(RecordingModule::Calls().back(), "OnActorStopped");
}

// What the system reports of the thread that serves the module. The C
// library may reuse a cached stack of up to four times the size asked for;
// the suite leaves none that large, so a larger stack here means 0x80000 was
// not asked for.
TEST_F(ActorThreadTest, ActorThreadHasItsNameAndStack) {
    RecordingHost host("web", "api");
    ASSERT_TRUE(host.Start(true));
    devhost::SendRawMessage(FindModule(host), 0, 3, {}, true);
    const RecordingModule::ThreadFacts thread = RecordingModule::LastCallThread();
    EXPECT_EQ(thread.name, "api");
    EXPECT_GE(thread.stackSize, 0x80000u);
    EXPECT_LT(thread.stackSize, 0x100000u);
}

// The hook has its own clauses: what it throws is written, and the end of
// the thread still comes.
TEST_F(ActorThreadTest, ExceptionFromTheStopHookIsWrittenAndTheEndStillComes) {
    const std::pair<RecordingModule::StopEnd, std::string> cases[] = {
        {RecordingModule::StopEnd::ThrowStd, "Actor WebApiModuleThread- got a standard exception:- stop failed\n"},
        {RecordingModule::StopEnd::ThrowOther, "Actor WebApiModuleThread- got an unexpected exception.\n"}};
    for (const auto& [end, words] : cases) {
        devhost::TraceLog::Clear();
        RecordingModule::SetStopEnd(end);
        auto host = std::make_unique<RecordingHost>("web", "api");
        ASSERT_TRUE(host->Start(true));
        host.reset();

        ExpectEntryThenShutdown(3, words);
        EXPECT_TRUE(TraceEntriesOf("dp").empty());
    }
}

class ActorLoopFaultTest : public ActorThreadTest, public ::testing::WithParamInterface<ClauseFault> {};

// An exception out of a command ends the actor for good: one entry in the
// clause's words, nothing served afterwards, and the object stays until it
// is destroyed, which then does not block.
TEST_P(ActorLoopFaultTest, ExceptionFromACommandEndsTheActor) {
    auto host = std::make_unique<RecordingHost>("web", "api");
    ASSERT_TRUE(host->Start(true));
    const du::SmartPtr<dom::ManagedObject> module = FindModule(*host);
    devhost::ArmFault("dom::MessageWriter::StartMessageReply", devhost::Fault{GetParam().kind, "broken reply", 1});

    EXPECT_ANY_THROW(devhost::SendRawMessage(module, 0, 0, {}, true));
    EXPECT_ANY_THROW(devhost::SendRawMessage(module, 0, 0, {}, true));
    EXPECT_EQ(host->GetActorName(), "WebApiModuleThread-");
    host.reset();
    EXPECT_EQ(RecordingModule::Calls(), (std::vector<std::string>{"GetCurrentSelection", "OnActorStopped"}));
    ExpectEntryThenShutdown(GetParam().type, GetParam().entry);
}

INSTANTIATE_TEST_SUITE_P(
    EveryClause, ActorLoopFaultTest,
    ::testing::Values(
        ClauseFault{devhost::FaultKind::ThrowActorShutdown, 0, "Got a ActorShutdownException:-\n\tbroken reply\n"},
        ClauseFault{devhost::FaultKind::ThrowConnectionLost, 3,
                  "Actor WebApiModuleThread- got a ConnectionLostException:-\n\tbroken reply\n"},
        ClauseFault{devhost::FaultKind::ThrowMessageProtocol, 3,
                  "Actor WebApiModuleThread- got a MessageProtocolException:-\n\tbroken reply\n"},
        ClauseFault{devhost::FaultKind::ThrowInvalidActor, 3,
                  "Actor WebApiModuleThread- got a InvalidActorException:-\n\tbroken reply\n"},
        ClauseFault{devhost::FaultKind::ThrowStd, 3,
                  "Actor WebApiModuleThread- got a standard exception:- broken reply\n"},
        ClauseFault{devhost::FaultKind::ThrowUnknown, 3, "Actor WebApiModuleThread- got an unexpected exception.\n"}));

// Without its queue the actor never serves: the loop is skipped and the end
// still comes, with no queue to show.
TEST_F(ActorThreadTest, FailedStartupSkipsTheLoop) {
    auto host = std::make_unique<RecordingHost>("web", "api");
    devhost::ArmFault("du::CommonAllocatorImpl::Allocate", devhost::Fault{devhost::FaultKind::Fail, "", 1});
    host->Start(true);
    devhost::DisarmAllFaults();
    du::SmartPtr<dom::ManagedObject> module;
    EXPECT_FALSE(dom::ManagedObject::FindActor(host->GetActorName(), du::Symbol("webapi::WebApiModule"), module));
    host.reset();
    EXPECT_EQ(RecordingModule::Calls(), std::vector<std::string>{"OnActorStopped"});
    ExpectEntryThenShutdown(3, "Actor WebApiModuleThread- got a standard exception:- std::bad_alloc\n", "00000000");
}

class ActorStartupFaultTest : public ActorThreadTest, public ::testing::WithParamInterface<ClauseFault> {};

// A start-up that fails once the queue is made: the clause's entry, no loop,
// and the thread itself lets go of the queue it made, so the shutdown line
// shows it and the destructor has nothing to shut down.
TEST_P(ActorStartupFaultTest, FailureAfterTheQueueIsMadeSkipsTheLoop) {
    auto host = std::make_unique<RecordingHost>("web", "api");
    devhost::ArmFault("dom::ManagedObject::ManageSelf", devhost::Fault{GetParam().kind, "not bound", 1});
    ASSERT_TRUE(host->Start(true));
    devhost::DisarmAllFaults();
    du::SmartPtr<dom::ManagedObject> module;
    EXPECT_FALSE(dom::ManagedObject::FindActor(host->GetActorName(), du::Symbol("webapi::WebApiModule"), module));
    host.reset();

    const std::string shutdown = ExpectEntryThenShutdown(GetParam().type, GetParam().entry);
    EXPECT_EQ(shutdown.find("0x00000000"), std::string::npos) << shutdown;
}

INSTANTIATE_TEST_SUITE_P(
    EveryClause, ActorStartupFaultTest,
    ::testing::Values(
        ClauseFault{devhost::FaultKind::ThrowActorShutdown, 0, "Got a ActorShutdownException:-\n\tnot bound\n"},
        ClauseFault{devhost::FaultKind::ThrowConnectionLost, 3,
                     "Actor WebApiModuleThread- got a standard exception:- not bound\n"},
        ClauseFault{devhost::FaultKind::ThrowUnknown, 3, "Actor WebApiModuleThread- got an unexpected exception.\n"}));

// A refused binding is not noticed: the loop is entered and ends at once on
// a queue that serves nothing, and the end is the orderly one.
TEST_F(ActorThreadTest, RefusedBindingIsNotNoticed) {
    auto host = std::make_unique<RecordingHost>("web", "api");
    devhost::ArmFault("dom::ManagedObject::ManageSelf", devhost::Fault{devhost::FaultKind::Fail, "", 1});
    ASSERT_TRUE(host->Start(true));
    devhost::DisarmAllFaults();
    host.reset();

    const auto entries = ActorEntries();
    ASSERT_EQ(entries.size(), 1u);
    ExpectShutdownLine(entries[0], "[0-9a-f]{8}");
}

}  // namespace
}  // namespace mtest
