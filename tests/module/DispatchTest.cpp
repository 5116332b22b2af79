// Requests as the dispatcher gets them, built value by value, against the
// module's real actor: which method runs with what, what the reply holds,
// and the exact entries of the failure paths.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ModuleTestSupport.h"
#include "RecordingModule.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/RawMessages.h"
#include "dom/Exceptions.h"
#include "dom/ManagedObject.h"
#include "du/Symbol.h"
#include "tests/platform/TestActor.h"

namespace mtest {
namespace {

using devhost::HandleValue;
using devhost::MessageValue;
using Values = std::vector<MessageValue>;

class DispatchTest : public ::testing::Test {
protected:
    void SetUp() override {
        devhost::DisarmAllFaults();
        devhost::TraceLog::Clear();
        RecordingModule::ClearCalls();
        host = std::make_unique<RecordingHost>("web", "api");
        ASSERT_TRUE(host->Start(true));
        ASSERT_TRUE(dom::ManagedObject::FindActor(host->GetActorName(), du::Symbol("webapi::WebApiModule"), module));
    }

    void TearDown() override {
        module.reset();
        host.reset();
    }

    // The reply, described.
    std::string Send(short tag, const Values& values, short table = 0) {
        return Describe(devhost::GetMessageValues(devhost::SendRawMessage(module, table, tag, values, true)));
    }

    // A request that the dispatcher turns down runs nothing and leaves
    // exactly this entry.
    void ExpectRejected(short tag, const Values& values, const std::string& entry, short table = 0) {
        EXPECT_THROW(Send(tag, values, table), dom::MessageProtocolException);
        EXPECT_TRUE(RecordingModule::Calls().empty());
        const auto entries = TraceEntriesOf("<generated code>");
        ASSERT_EQ(entries.size(), 1u);
        EXPECT_EQ(entries[0].name, "WebApiModule");
        EXPECT_EQ(entries[0].type, 3);
        EXPECT_EQ(entries[0].text, entry);
    }

    std::unique_ptr<RecordingHost> host;
    du::SmartPtr<dom::ManagedObject> module;
};

// Each request that the dispatcher turns down, alone: another method table
// or a tag out of range, both keeping their sign, and arguments that end too
// soon or have the wrong type. A sequence count that the message cannot
// back is a short message like any other: it must neither exhaust memory
// nor end the actor.
TEST_F(DispatchTest, MalformedRequestsAreTurnedDownWithTheirEntry) {
    const struct {
        short table, tag;
        Values values;
        const char* entry;
    } rows[] = {
        {1, 0, {}, "Unexpected method table 1"},
        {-1, 0, {}, "Unexpected method table -1"},
        {0, 30, {}, "Unexpected tag offset 30"},
        {0, -1, {}, "Unexpected tag offset -1"},
        {0, 2, {}, "Unexpected tag offset 2"},
        {0, 2, {MessageValue(1.5)}, "Unexpected tag offset 2"},
        {0, 6, {du::Symbol("label"), 1.0, 2.0}, "Unexpected tag offset 6"},
        {0, 1, {std::uint32_t{3}, du::Symbol("a"), du::Symbol("b")}, "Unexpected tag offset 1"},
        {0, 1, {std::uint32_t{0xFFFFFFFFu}, du::Symbol("a"), du::Symbol("b")}, "Unexpected tag offset 1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.entry);
        devhost::TraceLog::Clear();
        ExpectRejected(row.tag, row.values,
                       std::string(row.entry) + "for interface \"webapi::WebApiModuleLocalImpl\".\n", row.table);
    }
    EXPECT_EQ(Send(0, {}), "S:GetCurrentSelection result");
}

TEST_F(DispatchTest, SequenceIsDecodedInOrderThenTheRest) {
    EXPECT_EQ(Send(1, {std::uint32_t{2}, du::Symbol("a"), du::Symbol("b"), true, du::Symbol("00ff00")}), "");
    EXPECT_EQ(Send(1, {std::uint32_t{0}, false, du::Symbol("1")}), "");
    EXPECT_EQ(RecordingModule::Calls(),
              (std::vector<std::string>{"SetInstancesColor [a;b;] true 00ff00", "SetInstancesColor [] false 1"}));
}

TEST_F(DispatchTest, SurplusValuesAreIgnored) {
    EXPECT_EQ(Send(0, {du::Symbol("extra"), 4.0}), "S:GetCurrentSelection result");
    Send(4, {du::Symbol("[a]"), du::Symbol("extra")});
    EXPECT_EQ(RecordingModule::Calls(), (std::vector<std::string>{"GetCurrentSelection", "LoadInstances [a]"}));
    EXPECT_TRUE(TraceEntriesOf("<generated code>").empty());
}

// A sender that waits for nothing still has its method run, and the reply
// that every request gets does not disturb the actor.
TEST_F(DispatchTest, RequestWithoutReplyMarkIsServedToo) {
    devhost::SendRawMessage(module, 0, 4, {du::Symbol("[b]")}, false);
    EXPECT_EQ(Send(0, {}), "S:GetCurrentSelection result");
    EXPECT_EQ(RecordingModule::Calls(), (std::vector<std::string>{"LoadInstances [b]", "GetCurrentSelection"}));
}

// Each message id reaches its own method with its arguments decoded in
// order, and the reply carries that method's result.
TEST_F(DispatchTest, EveryMessageIdReachesItsMethod) {
    const du::SmartPtr<CaptureServer> viewables(new CaptureServer({"webapi::ViewablesRequest"}, {}));
    const du::SmartPtr<CaptureServer> observer(new CaptureServer({"webapi::TreeObserver"}, {}));
    const ptest::RunningActor viewablesClient(viewables, "ViewablesClient");
    const ptest::RunningActor observerClient(observer, "ObserverClient");
    struct Row {
        short tag;
        Values values;
        std::string call;
        std::string reply;
    };
    const Row rows[] = {
        {0, {}, "GetCurrentSelection", "S:GetCurrentSelection result"},
        {1,
         {std::uint32_t{2}, du::Symbol("a"), du::Symbol("b"), true, du::Symbol("00ff00")},
         "SetInstancesColor [a;b;] true 00ff00",
         ""},
        {2, {du::Symbol("17")}, "GetInstanceColor 17", "S:GetInstanceColor result"},
        {3, {}, "RestoreInstancesVisibility", ""},
        {4, {du::Symbol("[\"a/b\"]")}, "LoadInstances [\"a/b\"]", ""},
        {5, {du::Symbol("update end")}, "UnloadInstances update end", ""},
        {6, {du::Symbol("note"), 1.0, 2.5, -3.0}, "AddAnnotationLabel note 1.000000 2.500000 -3.000000", ""},
        {7, {du::Symbol("Service steps")}, "LoadAnnotationSet Service steps", ""},
        {8, {std::uint32_t{4000000000u}}, "GetAnnotationSetName 4000000000", "S:GetAnnotationSetName result"},
        {9, {}, "GetNumberOfAnnotationSets", "U:7"},
        {10, {devhost::MakeHandle(viewables, 0), std::int32_t{-5}}, "GetViewables object -5", ""},
        {11, {std::int32_t{3}}, "ZoomToSelected 3", ""},
        {12, {std::int32_t{-4}}, "ZoomToAll -4", ""},
        {13, {true}, "SetCrossSelection true", ""},
        {14, {devhost::MakeHandle(observer, 0)}, "RegisterTreeObserver object", ""},
        {15, {devhost::MakeHandle(observer, 0)}, "UnRegisterTreeObserver object", ""},
        {16, {du::Symbol("{\"primaryNode\":\"12\"}")}, "SelectTreeNodes {\"primaryNode\":\"12\"}", ""},
        {17, {}, "GetProfiles", "S:GetProfiles result"},
        {18, {du::Symbol("Service")}, "SetProfile Service", ""},
        {19, {}, "ResetToDefaultProfile", ""},
        {20, {}, "ToggleConnectionPath", ""},
        {21, {}, "NavigateConnection", ""},
        {22, {}, "ReverseNavigateConection", ""},
        {23, {du::Symbol("12"), du::Symbol("a,b")}, "ShowModelAnnoations 12 a,b", ""},
        {24, {du::Symbol("12"), du::Symbol("c")}, "HideModelAnnoations 12 c", ""},
        {25, {}, "ShowAllModelAnnoations", ""},
        {26, {}, "HideAllModelAnnoations", ""},
        {27,
         {du::Symbol("12"), du::Symbol("a"), du::Symbol("ff00ff")},
         "SetModelAnnotationColor 12 a ff00ff",
         ""},
        {28, {du::Symbol("12"), du::Symbol("a")}, "GetModelAnnotationColor 12 a", "S:GetModelAnnotationColor result"},
        {29, {}, "GetAllModelAnnotations <null>", "S:annotations"},
    };
    for (const Row& row : rows) {
        RecordingModule::ClearCalls();
        EXPECT_EQ(Send(row.tag, row.values), row.reply) << row.tag;
        EXPECT_EQ(RecordingModule::Calls(), std::vector<std::string>{row.call}) << row.tag;
    }
    EXPECT_TRUE(TraceEntriesOf("<generated code>").empty());
}

TEST_F(DispatchTest, ReferenceWithoutItsIntegerRunsNothing) {
    const du::SmartPtr<CaptureServer> request(new CaptureServer({"webapi::ViewablesRequest"}, {}));
    const ptest::RunningActor client(request, "ViewablesClient");
    const HandleValue handle = devhost::MakeHandle(request, 0);
    ExpectRejected(10, {handle}, "Unexpected tag offset 10for interface \"webapi::WebApiModuleLocalImpl\".\n");
    Send(10, {handle, 5});
    EXPECT_EQ(RecordingModule::Calls(), (std::vector<std::string>{"GetViewables object 5"}));
}

TEST_F(DispatchTest, ReferenceToAnotherInterfaceArrivesAsNull) {
    const du::SmartPtr<CaptureServer> other(new CaptureServer({"webapi::ViewablesRequest"}, {}));
    const du::SmartPtr<CaptureServer> observer(new CaptureServer({"webapi::TreeObserver"}, {}));
    const ptest::RunningActor otherClient(other, "OtherClient");
    const ptest::RunningActor observerClient(observer, "ObserverClient");
    Send(14, {devhost::MakeHandle(other, 0)});
    Send(14, {devhost::MakeHandle(observer, 0)});
    Send(14, {HandleValue{}});
    EXPECT_EQ(RecordingModule::Calls(),
              (std::vector<std::string>{"RegisterTreeObserver null", "RegisterTreeObserver object",
                                        "RegisterTreeObserver null"}));
}

}  // namespace
}  // namespace mtest
