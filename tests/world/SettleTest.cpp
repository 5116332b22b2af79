#include <gtest/gtest.h>

#include <atomic>

#include "WorldTestSupport.h"
#include "devhost/platform/ActorTasks.h"
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

}  // namespace
