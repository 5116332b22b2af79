#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

#include "WorldTestSupport.h"
#include "devhost/platform/ActorTasks.h"
#include "devhost/platform/ObjectRegistry.h"
#include "devhost/platform/QueueCore.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/ProgressDisplays.h"
#include "devhost/world/Settle.h"
#include "qxmk/WebProgressEvent.h"

namespace {

// Work that hops between two actors and the host worker several times
// before it is done: Settle returns only once all of it has run.
TEST(Settle, WaitsForWorkThatActorsAndTheWorkerHandOnToEachOther) {
    wtest::Owner first;
    wtest::Owner second;
    std::atomic<int> hops{0};
    std::function<void(int)> hop = [&](int left) {
        ++hops;
        if (left == 0) return;
        auto& target = left % 3 == 0 ? first.object : second.object;
        if (left % 2 == 0)
            devhost::RunOnHostWorker([&, left] { devhost::PostTask(target, [&, left] { hop(left - 1); }); });
        else
            devhost::PostTask(target, [&, left] { hop(left - 1); });
    };
    devhost::PostTask(first.object, [&] { hop(30); });
    devhost::Settle({first.object, second.object});
    EXPECT_EQ(hops.load(), 31);
}

TEST(Settle, ARunningProgressDisplayIsNotWork) {
    wtest::CleanWorld clean;
    wtest::Owner owner;
    du::SmartPtr<qxmk::WebProgressEvent> display(new qxmk::WebProgressEvent(qxmk::Progress::PT_Bar));
    ASSERT_TRUE(owner.object->ManageObject(display));
    devhost::PostTask(owner.object, [display] { display->StartProgress(nullptr, "busy", 1); });
    devhost::Settle({owner.object});
    auto displays = devhost::ProgressDisplays();
    ASSERT_EQ(displays.size(), 1u);
    EXPECT_TRUE(displays[0].running);
}

TEST(Settle, AnEndedActorIsPassedOver) {
    auto owner = std::make_unique<wtest::Owner>();
    du::SmartPtr<dom::ManagedObject> object = owner->object;
    owner.reset();
    devhost::Settle({object, nullptr});
    SUCCEED();
}

// An actor whose loop an exception ends while Settle waits behind that
// exception: the wait's mark is dropped unserved, and Settle passes the
// actor over rather than waiting for it for ever.
TEST(Settle, AnActorThatEndsWhileWaitedForIsPassedOver) {
    wtest::Owner owner;
    std::shared_ptr<devhost::QueueCore> queue;
    {
        std::lock_guard<std::mutex> hold(devhost::ObjectRegistry::Get().mutex);
        queue = owner.object->GetBinding().queue;
    }
    auto running = std::make_shared<std::promise<void>>();
    std::future<void> taken = running->get_future();
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    ASSERT_TRUE(devhost::PostTask(owner.object, [running, released] {
        running->set_value();
        released.wait();
        throw std::runtime_error("the loop ends here");
    }));
    // Detached: a Settle that never returns must fail the test, not hang it.
    auto settled = std::make_shared<std::promise<void>>();
    std::future<void> done = settled->get_future();
    std::thread([settled, object = owner.object] {
        devhost::Settle({object});
        settled->set_value();
    }).detach();
    // The mark of Settle's wait is queued behind the task before it throws.
    taken.wait();
    auto queued = [&queue] {
        std::lock_guard<std::mutex> hold(queue->mutex);
        return !queue->items.empty();
    };
    while (!queued()) std::this_thread::yield();
    release.set_value();
    EXPECT_EQ(done.wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

// A host job that throws must not take the worker, and with it the process
// and every later Settle, down.
TEST(Settle, AHostJobThatThrowsEndsAloneAndTheWorkerGoesOn) {
    std::atomic<bool> ranAfter{false};
    devhost::RunOnHostWorker([] { throw std::runtime_error("the job ends here"); });
    devhost::RunOnHostWorker([&] { ranAfter = true; });
    devhost::Settle({});
    EXPECT_TRUE(ranAfter.load());
}

}  // namespace
