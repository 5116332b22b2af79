#include "devhost/client/ClientActor.h"

#include <future>
#include <memory>
#include <utility>

#include "devhost/platform/ActorTasks.h"
#include "dom/MessageQueue.h"
#include "dp/Thread.h"

namespace devhost {
namespace {

// The object that owns the client's queue and runs its loop.
class Anchor : public dom::ManagedObject {};

}  // namespace

class ClientActor::Loop : public dp::Thread {
public:
    explicit Loop(std::string name) : dp::Thread(name.c_str(), 0x80000), name_(std::move(name)) {}
    ~Loop() override {
        if (queue_) queue_->ShutdownQueue(dom::MessageQueue::SM_Immediate);
        WaitForThreadToTerminate();
    }

    du::SmartPtr<Anchor> anchor;

protected:
    void ThreadStartup() override {
        queue_ = new dom::GenericMessageQueue();
        anchor = new Anchor();
        anchor->ManageSelf(queue_, du::Symbol(name_.c_str()), dom::ManagedObject::SCOPE_Local);
    }
    void ThreadMain() override { anchor->RunMessageLoop(); }

private:
    std::string name_;
    du::SmartPtr<dom::MessageQueue> queue_;
};

ClientActor::ClientActor(std::string name) : loop_(std::make_unique<Loop>(std::move(name))) {
    loop_->Start(true);
}

ClientActor::~ClientActor() = default;

bool ClientActor::Adopt(const du::SmartPtr<dom::ManagedObject>& object) {
    return loop_->anchor && loop_->anchor->ManageObject(object);
}

bool ClientActor::Release(const du::SmartPtr<dom::ManagedObject>& object) {
    return loop_->anchor && loop_->anchor->UnmanageObject(object);
}

void ClientActor::Settle() {
    // A task dropped unrun by a shutdown breaks the promise, which also ends the wait.
    auto served = std::make_shared<std::promise<void>>();
    std::future<void> done = served->get_future();
    if (!PostTask(loop_->anchor, [served] { served->set_value(); })) return;
    done.wait();
}

}  // namespace devhost
