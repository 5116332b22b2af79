#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

#include "CounterInterface.h"
#include "TestActor.h"
#include "devhost/platform/QueueCore.h"
#include "devhost/platform/RawMessages.h"
#include "dom/Exceptions.h"
#include "dom/MessageWriter.h"

namespace {

using devhost::MessageValue;

std::size_t QueuedItems(const du::SmartPtr<dom::MessageQueue>& queue) {
    devhost::QueueCore& core = *queue->GetState().core;
    std::lock_guard<std::mutex> hold(core.mutex);
    return core.items.size();
}

// Blocks the actor inside a one-way message until released.
struct Blocker {
    explicit Blocker(ptest::CounterServer& server) : released(release.get_future().share()) {
        server.onNote = [this] {
            entered.set_value();
            released.wait();
        };
        devhost::SendRawMessage(du::SmartPtr<dom::ManagedObject>(&server), 0, 2, {MessageValue(du::Symbol("block"))},
                                false);
        entered.get_future().wait();
    }
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released;
};

}  // namespace

TEST(Shutdown, ImmediateShutdownFailsQueuedSendersAndServesNothingTwice) {
    du::SmartPtr<ptest::CounterServer> server(new ptest::CounterServer);
    ptest::RunningActor actor(server, "Shutdown.Immediate");
    Blocker blocker(*server);

    constexpr int kSenders = 5;
    std::vector<std::future<std::string>> outcomes;
    for (int s = 0; s < kSenders; ++s) {
        outcomes.push_back(std::async(std::launch::async, [&] {
            try {
                devhost::SendRawMessage(server, 0, 0, {MessageValue(std::int32_t{1})}, true);
                return std::string("served");
            } catch (const dom::ActorShutdownException&) {
                return std::string("shutdown");
            }
        }));
    }
    while (QueuedItems(actor.queue) < kSenders) std::this_thread::yield();

    actor.queue->ShutdownQueue(dom::MessageQueue::SM_Immediate);
    for (auto& outcome : outcomes) EXPECT_EQ(outcome.get(), "shutdown");
    blocker.release.set_value();
    actor.Join();
    EXPECT_FALSE(actor.ended);
    EXPECT_EQ(server->served.load(), 1);
    EXPECT_EQ(server->total.load(), 0);
    EXPECT_TRUE(actor.queue->IsShutdown());
    EXPECT_THROW(devhost::SendRawMessage(server, 0, 0, {MessageValue(std::int32_t{1})}, true),
                 dom::ActorShutdownException);
}

TEST(Shutdown, WhenIdleServesWhatIsQueuedFirst) {
    du::SmartPtr<ptest::CounterServer> server(new ptest::CounterServer);
    ptest::RunningActor actor(server, "Shutdown.WhenIdle");
    {
        Blocker blocker(*server);
        for (int i = 0; i < 3; ++i)
            devhost::SendRawMessage(server, 0, 0, {MessageValue(std::int32_t{1})}, false);
        actor.queue->ShutdownQueue(dom::MessageQueue::SM_WhenIdle);
        // Too late to be served: a request is told, a one-way message is dropped.
        EXPECT_THROW(devhost::SendRawMessage(server, 0, 0, {MessageValue(std::int32_t{1})}, true),
                     dom::ActorShutdownException);
        EXPECT_NO_THROW(devhost::SendRawMessage(server, 0, 0, {MessageValue(std::int32_t{1})}, false));
        blocker.release.set_value();
        actor.Join();
    }
    EXPECT_EQ(server->total.load(), 3);
}

TEST(Shutdown, ShutdownBeforeTheLoopReleasesTheObjects) {
    du::SmartPtr<dom::MessageQueue> queue(new dom::GenericMessageQueue);
    du::SmartPtr<ptest::CounterServer> server(new ptest::CounterServer);
    ASSERT_TRUE(server->ManageSelf(queue, "Shutdown.Early", dom::ManagedObject::SCOPE_Global));
    EXPECT_EQ(server->GetReferenceCount(), 2);
    queue->ShutdownQueue(dom::MessageQueue::SM_Immediate);
    EXPECT_EQ(server->GetReferenceCount(), 1);
    EXPECT_FALSE(server->RunMessageLoop());
    du::SmartPtr<dom::ManagedObject> proxy;
    EXPECT_FALSE(dom::ManagedObject::FindActor("Shutdown.Early", ptest::kCounterName, proxy));
}

namespace {

// An actor object that holds its own queue, as the module's does.
struct SelfHosted : ptest::CounterServer {
    explicit SelfHosted(bool* freed, bool failOnManage) : freed(freed), failOnManage(failOnManage) {}
    ~SelfHosted() override { *freed = true; }
    void OnManage() override {
        if (failOnManage) throw std::runtime_error("cannot come up");
    }
    du::SmartPtr<dom::MessageQueue> queue;
    bool* freed;
    bool failOnManage;
};

}  // namespace

TEST(Shutdown, AnActorHoldingItsOwnQueueIsFreedWhenItsLoopEnds) {
    bool freed = false;
    {
        du::SmartPtr<SelfHosted> actor(new SelfHosted(&freed, false));
        actor->queue = new dom::GenericMessageQueue;
        ASSERT_TRUE(actor->ManageSelf(actor->queue, "Shutdown.SelfHosted", dom::ManagedObject::SCOPE_Global));
        std::thread loop([actor] { actor->RunMessageLoop(); });
        actor->queue->ShutdownQueue(dom::MessageQueue::SM_Immediate);
        loop.join();
    }
    EXPECT_TRUE(freed);
}

TEST(Shutdown, AnActorThatFailsToComeUpIsShutDownAndFreed) {
    bool freed = false;
    {
        du::SmartPtr<SelfHosted> actor(new SelfHosted(&freed, true));
        actor->queue = new dom::GenericMessageQueue;
        EXPECT_THROW(actor->ManageSelf(actor->queue, "Shutdown.Failed", dom::ManagedObject::SCOPE_Global),
                     std::runtime_error);
        EXPECT_TRUE(actor->queue->IsShutdown());
        EXPECT_FALSE(actor->IsManaged());
    }
    EXPECT_TRUE(freed);
}

TEST(Shutdown, ObjectsBoundToAQueueThatNobodyHoldsAreLetGo) {
    du::SmartPtr<ptest::CounterServer> server(new ptest::CounterServer);
    {
        du::SmartPtr<dom::MessageQueue> queue(new dom::GenericMessageQueue);
        ASSERT_TRUE(server->ManageSelf(queue, "Shutdown.Dropped", dom::ManagedObject::SCOPE_Local));
    }
    EXPECT_FALSE(server->IsManaged());
    EXPECT_EQ(server->GetReferenceCount(), 1);
}

TEST(Shutdown, AnObjectLetGoAndFreedWhileItsRequestsAreQueuedFailsThemAsAnInvalidActor) {
    du::SmartPtr<ptest::CounterServer> server(new ptest::CounterServer);
    ptest::RunningActor actor(server, "Shutdown.LetGo");
    bool freed = false;
    struct Mortal : ptest::CounterServer {
        explicit Mortal(bool* freed) : freed(freed) {}
        ~Mortal() override { *freed = true; }
        bool* freed;
    };
    du::SmartPtr<Mortal> second(new Mortal(&freed));
    ASSERT_TRUE(server->ManageObject(second));

    {
        Blocker blocker(*server);
        // The message names the object by id only, and holds no reference to it.
        dom::MessageWriter writer = second->StartNewMessage(0);
        writer.PushInt32Value(1);
        writer.MarkNeedsReplyFlag();
        dom::MessagePtr request = writer.FinaliseMessage();
        std::future<std::string> outcome = std::async(std::launch::async, [request, sender = server] {
            try {
                sender->DeliverMessage(request);
                return std::string("served");
            } catch (const dom::InvalidActorException&) {
                return std::string("invalid actor");
            }
        });
        while (QueuedItems(actor.queue) < 1) std::this_thread::yield();
        EXPECT_TRUE(server->UnmanageObject(second));
        second = nullptr;
        EXPECT_TRUE(freed);
        blocker.release.set_value();
        // Once the request is answered the actor has left the blocker.
        EXPECT_EQ(outcome.get(), "invalid actor");
    }
    EXPECT_EQ(server->served.load(), 1);
}
