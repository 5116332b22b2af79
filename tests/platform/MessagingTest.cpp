#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

#include "CounterInterface.h"
#include "TestActor.h"
#include "devhost/platform/ActorTasks.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/RawMessages.h"
#include "devhost/platform/Timers.h"
#include "dom/Exceptions.h"
#include "dom/MessageReader.h"
#include "dom/MessageWriter.h"

namespace {

using devhost::MessageValue;

class Messaging : public ::testing::Test {
protected:
    ~Messaging() override { devhost::DisarmAllFaults(); }

    du::SmartPtr<ptest::Counter> CounterProxy() {
        du::SmartPtr<dom::ManagedObject> proxy;
        EXPECT_TRUE(dom::ManagedObject::FindActor("Messaging.Counter", ptest::kCounterName, proxy));
        return du::DynamicCast<ptest::Counter>(proxy);
    }
    template <class Exception>
    std::string FailureOf(short table, short tag, const std::vector<MessageValue>& values) {
        try {
            devhost::SendRawMessage(server, table, tag, values, true);
        } catch (const Exception& e) {
            return e.what();
        }
        return "no failure";
    }

    ptest::CounterFactoryRegistration registration;
    du::SmartPtr<ptest::CounterServer> server{new ptest::CounterServer};
    ptest::RunningActor actor{server, "Messaging.Counter"};
};

}  // namespace

TEST_F(Messaging, RequestIsServedOnTheActorThreadAndTheReplyReadsThroughTheSameMessage) {
    du::SmartPtr<ptest::Counter> counter = CounterProxy();
    ASSERT_TRUE(counter);
    EXPECT_EQ(counter->Add(5), 5);
    EXPECT_EQ(counter->Add(2), 7);
    EXPECT_EQ(server->lastThread, actor.thread.get_id());

    dom::MessagePtr reply = devhost::SendRawMessage(server, 0, 0, {MessageValue(std::int32_t{1})}, true);
    dom::MessageReader reader(reply);
    int total = 0;
    EXPECT_TRUE(reader.GetInt32Value(total));
    EXPECT_EQ(total, 8);
    EXPECT_FALSE(reader.GetInt32Value(total));
}

TEST_F(Messaging, NullAndEmptySymbolsSurviveTheTrip) {
    du::SmartPtr<ptest::Counter> counter = CounterProxy();
    EXPECT_TRUE(counter->Echo(du::Symbol()).IsNull());
    du::Symbol empty = counter->Echo(du::Symbol::EMPTY);
    EXPECT_FALSE(empty.IsNull());
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(counter->Echo("text"), "text");
}

TEST_F(Messaging, OneWayReturnsBeforeTheHandlerRuns) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::promise<void> handled;
    server->onNote = [&] {
        released.wait();
        handled.set_value();
    };
    CounterProxy()->Note("one way");
    release.set_value();
    handled.get_future().wait();
    EXPECT_EQ(CounterProxy()->Echo("after"), "after");
    EXPECT_EQ(server->lastNote, "one way");
}

TEST_F(Messaging, BadTableBadTagAndBadValuesFailTheSender) {
    EXPECT_NE(FailureOf<dom::MessageProtocolException>(1, 0, {MessageValue(std::int32_t{1})}).find("method table"),
              std::string::npos);
    std::string badTag = FailureOf<dom::MessageProtocolException>(0, 9, {});
    EXPECT_NE(badTag.find("tag"), std::string::npos);
    EXPECT_EQ(badTag.find("method table"), std::string::npos);
    // A wrong type and a missing value read as a bad tag.
    EXPECT_NE(FailureOf<dom::MessageProtocolException>(0, 0, {MessageValue(1.5)}).find("tag"), std::string::npos);
    EXPECT_NE(FailureOf<dom::MessageProtocolException>(0, 0, {}).find("tag"), std::string::npos);
    // Surplus values are the receiver's business.
    dom::MessagePtr reply = devhost::SendRawMessage(
        server, 0, 0, {MessageValue(std::int32_t{3}), MessageValue(du::Symbol("extra"))}, true);
    EXPECT_EQ(std::get<std::int32_t>(devhost::GetMessageValues(reply).at(0)), 3);
    EXPECT_EQ(server->total.load(), 3);
}

TEST_F(Messaging, RequestWithoutReplyFailsInsteadOfHanging) {
    devhost::ArmFault("dom::MessageWriter::StartMessageReply", {devhost::FaultKind::Fail, "", 1});
    EXPECT_NE(FailureOf<dom::MessageProtocolException>(0, 0, {MessageValue(std::int32_t{1})}).find("did not reply"),
              std::string::npos);
    EXPECT_EQ(CounterProxy()->Add(1), 2);
}

TEST_F(Messaging, HandlerExceptionEndsTheActorForGood) {
    devhost::ArmFault("dom::MessageWriter::StartMessageReply", {devhost::FaultKind::ThrowStd, "boom", 1});
    du::SmartPtr<ptest::Counter> counter = CounterProxy();
    EXPECT_THROW(counter->Add(1), dom::ActorShutdownException);
    actor.Join();
    ASSERT_TRUE(actor.ended);
    try {
        std::rethrow_exception(actor.ended);
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "boom");
    }
    EXPECT_THROW(counter->Add(1), dom::ActorShutdownException);
    // A one-way message for the ended actor is dropped, not thrown back.
    EXPECT_NO_THROW(counter->Note("late"));
    EXPECT_FALSE(server->IsManaged());
}

TEST_F(Messaging, LostMessagesAndLostConnections) {
    devhost::ArmFault("dom::ManagedObject::DeliverMessage", {devhost::FaultKind::Fail, "", 2});
    du::SmartPtr<ptest::Counter> counter = CounterProxy();
    counter->Note("lost");
    EXPECT_THROW(counter->Add(1), dom::ConnectionLostException);
    EXPECT_EQ(counter->Add(1), 1);
    EXPECT_TRUE(server->lastNote.IsNull());
}

TEST_F(Messaging, ConcurrentSendersEachGetTheirOwnReply) {
    constexpr int kThreads = 6, kRequests = 150;
    std::vector<std::thread> senders;
    std::atomic<int> mismatches{0};
    for (int t = 0; t < kThreads; ++t) {
        senders.emplace_back([&, t] {
            du::SmartPtr<ptest::Counter> counter = CounterProxy();
            for (int i = 0; i < kRequests; ++i) {
                du::Symbol text(std::to_string(t) + ":" + std::to_string(i));
                if (counter->Echo(text) != text) ++mismatches;
                counter->Add(1);
            }
        });
    }
    for (auto& s : senders) s.join();
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(server->total.load(), kThreads * kRequests);
    EXPECT_EQ(server->served.load(), 2 * kThreads * kRequests);
}

TEST_F(Messaging, RequestToAnObjectOfTheCallersOwnActorIsServedInline) {
    du::SmartPtr<ptest::CounterServer> second(new ptest::CounterServer);
    std::promise<bool> managed;
    ASSERT_TRUE(devhost::PostTask(server, [&] { managed.set_value(server->ManageObject(second)); }));
    ASSERT_TRUE(managed.get_future().get());
    // The first counter relays to the second, on the same actor thread.
    du::SmartPtr<ptest::Counter> secondAsCounter(second);
    EXPECT_EQ(CounterProxy()->Relay(secondAsCounter), 1);
    EXPECT_EQ(second->lastThread, actor.thread.get_id());
    EXPECT_EQ(CounterProxy()->Relay(nullptr), -1);
}

TEST_F(Messaging, TasksRunOnTheActorThreadInOrderWithMessages) {
    std::vector<int> order;
    std::thread::id taskThread;
    server->onNote = [&] { order.push_back(1); };
    CounterProxy()->Note("first");
    ASSERT_TRUE(devhost::PostTask(server, [&] {
        taskThread = std::this_thread::get_id();
        order.push_back(2);
    }));
    CounterProxy()->Add(0);  // a request served after the task
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(taskThread, actor.thread.get_id());
    du::SmartPtr<ptest::CounterServer> loose(new ptest::CounterServer);
    EXPECT_FALSE(devhost::PostTask(loose, [] {}));
}

TEST_F(Messaging, TaskExceptionPassesOutOfTheLoop) {
    ASSERT_TRUE(devhost::PostTask(server, [] { throw dom::ConnectionLostException("gone"); }));
    actor.Join();
    EXPECT_THROW(std::rethrow_exception(actor.ended), dom::ConnectionLostException);
    EXPECT_FALSE(devhost::PostTask(server, [] {}));
}

TEST_F(Messaging, ObjectsLetGoOrNeverManagedAreInvalidActors) {
    du::SmartPtr<ptest::CounterServer> second(new ptest::CounterServer);
    std::promise<void> done;
    devhost::PostTask(server, [&] {
        server->ManageObject(second);
        done.set_value();
    });
    done.get_future().wait();
    EXPECT_EQ(devhost::SendRawMessage(second, 0, 0, {MessageValue(std::int32_t{4})}, true)->GetValueCount(), 1u);
    EXPECT_TRUE(server->UnmanageObject(second));
    EXPECT_THROW(devhost::SendRawMessage(second, 0, 0, {MessageValue(std::int32_t{4})}, true),
                 dom::InvalidActorException);
    EXPECT_FALSE(server->UnmanageObject(second));
}

TEST(MessageReader, TypedReadsFailOnMismatchAndAtTheEndWithoutMoving) {
    du::SmartPtr<ptest::CounterServer> object(new ptest::CounterServer);
    dom::MessageWriter writer = object->StartNewMessage(7);
    writer.PushStringValue(du::Symbol());
    writer.PushDoubleValue(2.5);
    writer.PushInt32Value(-3);
    writer.PushUInt32Value(4u);
    writer.PushBooleanValue(true);
    writer.MarkNeedsReplyFlag();
    dom::MessagePtr message = writer.FinaliseMessage();
    EXPECT_EQ(message->GetTag(), 7);
    EXPECT_EQ(message->GetMethodTable(), 0);
    EXPECT_TRUE(message->NeedsReply());
    EXPECT_EQ(message->GetValueCount(), 5u);

    dom::MessageReader reader(message);
    double d = 0;
    int i = 0;
    unsigned int u = 0;
    bool b = false;
    du::Symbol s("untouched");
    EXPECT_FALSE(reader.GetDoubleValue(d));
    EXPECT_EQ(reader.GetPosition(), 0u);
    EXPECT_TRUE(reader.GetStringValue(s));
    EXPECT_TRUE(s.IsNull());
    EXPECT_FALSE(reader.GetInt32Value(i));
    EXPECT_TRUE(reader.GetDoubleValue(d));
    EXPECT_FALSE(reader.GetUInt32Value(u));
    EXPECT_TRUE(reader.GetInt32Value(i));
    EXPECT_FALSE(reader.GetInt32Value(i));
    EXPECT_TRUE(reader.GetUInt32Value(u));
    EXPECT_TRUE(reader.GetBooleanValue(b));
    EXPECT_FALSE(reader.GetBooleanValue(b));
    EXPECT_EQ(d, 2.5);
    EXPECT_EQ(i, -3);
    EXPECT_EQ(u, 4u);
    EXPECT_TRUE(b);

    dom::MessageWriter reply;
    reply.StartMessageReply(message);
    reply.PushStringValue(du::Symbol::EMPTY);
    reply.FinaliseMessage();
    dom::MessageReader replyReader(message);
    EXPECT_TRUE(replyReader.GetStringValue(s));
    EXPECT_FALSE(s.IsNull());
    EXPECT_FALSE(replyReader.GetStringValue(s));
}

TEST(MessageWriter, NegativeAndHighTagsKeepTheirBits) {
    du::SmartPtr<ptest::CounterServer> object(new ptest::CounterServer);
    EXPECT_EQ(object->StartNewMessage(0xFFFF).GetMessage()->GetTag(), -1);
    EXPECT_EQ(object->StartNewMessage(30).GetMessage()->GetTag(), 30);
}

namespace {

struct TimedCounter : ptest::CounterServer {
    void HandleTimeoutEvent(long long timerId) override {
        fired.push_back(timerId);
        firedOn = std::this_thread::get_id();
    }
    std::vector<long long> fired;
    std::thread::id firedOn;
};

}  // namespace

TEST(Timers, DueTimersCallHandleTimeoutEventOnTheActorThread) {
    du::SmartPtr<TimedCounter> server(new TimedCounter);
    ptest::TestActor actor(server, "Timers.Counter");
    ASSERT_TRUE(devhost::StartTimer(server, 1, std::chrono::hours(1)));
    EXPECT_TRUE(devhost::CancelTimer(server, 1));
    EXPECT_FALSE(devhost::CancelTimer(server, 1));
    ASSERT_TRUE(devhost::StartTimer(server, 2, std::chrono::hours(1)));
    ASSERT_TRUE(devhost::StartTimer(server, 3, std::chrono::milliseconds(0)));
    actor.Start();
    std::thread::id actorThread = actor.thread.get_id();
    // Ask the actor until it has seen the due timer; the other stays set.
    for (bool seen = false; !seen;) {
        std::promise<bool> answer;
        devhost::PostTask(server, [&] { answer.set_value(!server->fired.empty()); });
        seen = answer.get_future().get();
    }
    actor.queue->ShutdownQueue(dom::MessageQueue::SM_Immediate);
    actor.Join();
    EXPECT_EQ(server->fired, (std::vector<long long>{3}));
    EXPECT_EQ(server->firedOn, actorThread);
    du::SmartPtr<TimedCounter> loose(new TimedCounter);
    EXPECT_FALSE(devhost::StartTimer(loose, 1, std::chrono::milliseconds(0)));
}
