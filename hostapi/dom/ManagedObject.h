#pragma once

#include "dom/Message.h"
#include "dom/MessageWriter.h"
#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace dom {

class MessageQueue;

// An object that receives messages on an actor's queue.
class ManagedObject : public virtual du::RefCounted {
public:
    enum Scope {
        SCOPE_Global = 0,  // the name can be looked up by any client
        SCOPE_Local = 1    // the object is reached only through handles
    };

    ManagedObject();
    ~ManagedObject() override;
    ManagedObject(const ManagedObject&) = delete;
    ManagedObject& operator=(const ManagedObject&) = delete;

    virtual short BaseClassOffsetByName(const du::Symbol& name) const;
    virtual int GetBaseClassCount() const;
    virtual int GetBaseClassParent(int index) const;
    virtual du::Symbol GetBaseClass(int index);
    virtual du::Symbol GetObjectClass();
    virtual void HandleMessage(const MessagePtr& message);
    virtual void HandleTimeoutEvent(long long timerId);
    virtual bool HandleOnIdleEvent();
    virtual void OnManage();

    // Binds this object to the queue under a name that clients can look up.
    bool ManageSelf(const du::SmartPtr<MessageQueue>& queue, const du::Symbol& name, Scope scope);
    // Binds a further object to this object's queue and keeps it alive while
    // this object is managed. Its messages, and the completions of host
    // work that it carries, run on this object's actor thread.
    bool ManageObject(const du::SmartPtr<ManagedObject>& object);
    // Lets go of an object given to ManageObject.
    bool UnmanageObject(const du::SmartPtr<ManagedObject>& object);
    // Serves this object's queue until it is shut down. An exception from a
    // handler ends the loop and the queue for good, and passes on.
    bool RunMessageLoop();

    // Starts a message with the given id to the object that this object
    // stands for: the remote object for a proxy, this object otherwise.
    MessageWriter StartNewMessage(unsigned short messageId) const;
    // One-way messages return at once, and are dropped without a word when
    // the target's actor has gone. A message marked as needing a reply blocks
    // until the reply has come, which the same MessagePtr then reads; it
    // throws dom::ActorShutdownException when the target's actor has been shut
    // down or ends before replying, and dom::InvalidActorException when no
    // actor manages the target.
    void DeliverMessage(const MessagePtr& message) const;

    // Finds the actor published under name and gives a proxy of the named
    // interface for it, made by that interface's registered factory.
    static bool FindActor(const du::Symbol& name, const du::Symbol& interfaceName,
                          du::SmartPtr<ManagedObject>& proxy);

    bool IsManaged() const;

    struct Binding;  // where this object lives; private to the messaging layer
    Binding& GetBinding() const { return *binding_; }

private:
    Binding* binding_;
};

}  // namespace dom
