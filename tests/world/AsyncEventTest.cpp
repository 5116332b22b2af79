#include <gtest/gtest.h>

#include <memory>

#include <atomic>
#include <thread>

#include "WorldTestSupport.h"
#include "qxk/AsyncEventSet.h"

namespace {

// Records where and how it completed.
class RecordingEvent : public qxk::AsyncEvent {
public:
    RecordingEvent() : qxk::BaseAsyncEvent(true) {}
    void OnComplete(int status) override {
        statuses.push_back(status);
        thread = std::this_thread::get_id();
    }
    void OnProgress(unsigned char percentage) override { progress.push_back(percentage); }

    std::vector<int> statuses;
    std::vector<int> progress;
    std::thread::id thread;
};

class CountingSet : public qxk::AsyncEventSet {
public:
    void OnAllEventsComplete() override {
        ++calls;
        thread = std::this_thread::get_id();
    }
    std::atomic<int> calls{0};
    std::thread::id thread;
};

TEST(AsyncEvent, CompletionFromAnyThreadRunsOnceOnTheOwnersActor) {
    wtest::Owner owner;
    du::SmartPtr<RecordingEvent> event(new RecordingEvent());
    ASSERT_TRUE(owner.object->ManageObject(event));
    std::thread worker([&] {
        event->Progress(255);
        event->Complete();
        event->CompleteWithError(5);
    });
    worker.join();
    owner.Sync();
    EXPECT_EQ(event->statuses, (std::vector<int>{0}));
    EXPECT_EQ(event->progress, (std::vector<int>{255}));
    EXPECT_EQ(event->thread, owner.ThreadId());
    EXPECT_EQ(event->Status(), qxk::BaseAsyncEvent::ES_Ok);
    EXPECT_FALSE(event->IsManaged()) << "a completed event lets go of its actor";
}

TEST(AsyncEvent, AnEventUnderNoActorCompletesOnTheReportingThread) {
    du::SmartPtr<RecordingEvent> event(new RecordingEvent());
    EXPECT_FALSE(event->IsComplete());
    event->CompleteWithError(0);
    EXPECT_EQ(event->statuses, (std::vector<int>{qxk::BaseAsyncEvent::ES_Failed})) << "an error is never status 0";
    EXPECT_EQ(event->thread, std::this_thread::get_id());
}

TEST(AsyncEvent, AFailedChildCompletesItsParentAndPassesProgressOn) {
    wtest::Owner owner;
    du::SmartPtr<RecordingEvent> parent(new RecordingEvent());
    du::SmartPtr<RecordingEvent> child(new RecordingEvent());
    owner.object->ManageObject(parent);
    owner.object->ManageObject(child);
    parent->LinkChildEvent(child.get());
    child->Progress(40);
    child->CompleteWithError(7);
    owner.Sync();
    owner.Sync();  // the parent's report was posted from the child's completion
    EXPECT_EQ(parent->progress, (std::vector<int>{40}));
    EXPECT_EQ(parent->statuses, (std::vector<int>{7}));
    parent->Complete();
    owner.Sync();
    EXPECT_EQ(parent->statuses.size(), 1u);
}

TEST(AsyncEvent, ASetReportsOnceWhenItsLastMemberCompletes) {
    wtest::Owner owner;
    du::SmartPtr<CountingSet> set(new CountingSet());
    std::vector<du::SmartPtr<qxk::AsyncSetEvent>> members;
    for (int i = 0; i < 3; ++i) {
        du::SmartPtr<qxk::AsyncSetEvent> member = set->CreateNewEvent();
        owner.object->ManageObject(member);
        set->AddEvent(member);
        members.push_back(member);
    }
    qxk::AsyncEventSet* raw = set.get();
    set = nullptr;  // the members keep their set
    members[0]->Complete();
    std::thread other([&] { members[1]->CompleteWithError(3); });
    other.join();
    owner.Sync();
    auto& counting = static_cast<CountingSet&>(*raw);
    du::SmartPtr<CountingSet> hold(&counting);
    EXPECT_EQ(counting.calls, 0);
    members[2]->Complete();
    owner.Sync();
    EXPECT_EQ(counting.calls, 1);
    EXPECT_EQ(counting.thread, owner.ThreadId());
}

// The load pattern: members of a set are children of one event that the
// set completes when all are done. A failed member fails that event.
TEST(AsyncEvent, AFailedMemberFailsTheEventThatItsSetWouldComplete) {
    wtest::Owner owner;
    du::SmartPtr<RecordingEvent> load(new RecordingEvent());
    owner.object->ManageObject(load);
    class CompletingSet : public qxk::AsyncEventSet {
    public:
        explicit CompletingSet(const du::SmartPtr<RecordingEvent>& event) : event(event) {}
        void OnAllEventsComplete() override { event->Complete(); }
        du::SmartPtr<RecordingEvent> event;
    };
    du::SmartPtr<qxk::AsyncEventSet> set(new CompletingSet(load));
    du::SmartPtr<qxk::AsyncSetEvent> member = set->CreateNewEvent();
    owner.object->ManageObject(member);
    set->AddEvent(member);
    load->LinkChildEvent(member.get());
    set = nullptr;
    member->CompleteWithError(4);
    owner.Sync();
    owner.Sync();
    EXPECT_EQ(load->statuses, (std::vector<int>{4}));
}

}  // namespace

namespace {

class Anchor : public dom::ManagedObject {};

// A report that comes after the actor of its event has ended runs nowhere:
// neither on the reporting thread nor anywhere else.
TEST(AsyncEvent, AReportAfterTheActorHasEndedIsDropped) {
    du::SmartPtr<dom::ManagedObject> anchor(new Anchor());
    auto actor = std::make_unique<ptest::TestActor>(anchor, "async-event-ended");
    actor->Start();
    du::SmartPtr<RecordingEvent> event(new RecordingEvent());
    ASSERT_TRUE(anchor->ManageObject(event));
    actor.reset();  // shuts the queue down and joins the actor
    std::thread reporter([&] {
        event->Progress(10);
        event->Complete();
    });
    reporter.join();
    EXPECT_TRUE(event->progress.empty());
    EXPECT_TRUE(event->statuses.empty());
}

}  // namespace
