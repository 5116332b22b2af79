#include "ContentTestSupport.h"

#include <future>

#include "devhost/platform/ActorTasks.h"
#include "devhost/world/HostWorker.h"

namespace ctest {
namespace {

class ActorObject : public dom::ManagedObject {};

}  // namespace

Actor::Actor() : object(new ActorObject), actor_(object, "content-test-actor") {
    Run([this] { threadId_ = std::this_thread::get_id(); });
}

Actor::~Actor() { SettleUntil([] { return true; }); }

void Actor::Manage(const du::SmartPtr<dom::ManagedObject>& managed) {
    Run([this, managed] { object->ManageObject(managed); });
}

void Actor::Run(const std::function<void()>& task) {
    std::promise<void> done;
    if (devhost::PostTask(object, [&] {
            task();
            done.set_value();
        }))
        done.get_future().wait();
}

bool Actor::SettleUntil(const std::function<bool()>& done) {
    // The condition is read on the actor thread, in order with the event
    // hooks that change what it reads. Work done on the worker may post more
    // work there and to the actor; each round lets one more step run.
    bool met = false;
    for (int round = 0; round < 50 && !met; ++round) {
        Run([&] { met = done(); });
        if (met) break;
        devhost::DrainHostWorker();
    }
    return met;
}

}  // namespace ctest
