#include "devhost/platform/Delivery.h"

#include <string>

#include "devhost/platform/Faults.h"
#include "devhost/platform/MessageContent.h"
#include "devhost/platform/ObjectRegistry.h"
#include "dom/Exceptions.h"

namespace devhost {

namespace {

using Outcome = dom::Message::Content::Outcome;

void ServeMessage(QueueCore& queue, const dom::MessagePtr& message) {
    dom::Message::Content& content = message->GetContent();
    const bool request = content.needsReply;
    du::SmartPtr<dom::ManagedObject> target = FindBoundObject(content.target, &queue);
    if (!target) {
        // A queue closed from another thread lets its objects go while the
        // loop still holds the request it took last: that sender learns of
        // the shutdown like those whose requests were still queued.
        if (request && queue.IsShutdown())
            content.Settle(Outcome::ActorShutdown, "The actor's queue was shut down before the request was served");
        else if (request)
            content.Settle(Outcome::InvalidActor,
                           "Object " + std::to_string(content.target) + " was let go by its actor");
        return;
    }
    try {
        target->HandleMessage(message);
    } catch (...) {
        if (request) content.Settle(Outcome::ActorShutdown, "The actor ended while serving the request");
        throw;
    }
    if (request) content.Settle(content.ServedOutcome());
}

void EndLoop(QueueCore& queue) {
    {
        std::lock_guard<std::mutex> hold(queue.mutex);
        queue.looping = false;
        queue.serving = false;
        queue.loopThread = std::thread::id();
    }
    queue.Close();
}

}  // namespace

void Deliver(const dom::MessagePtr& message) {
    if (!message) return;
    dom::Message::Content& content = message->GetContent();
    // A lost message: gone without a word when one-way, a lost connection
    // to a sender that waits.
    if (HitFault("dom::ManagedObject::DeliverMessage")) {
        if (content.needsReply) throw dom::ConnectionLostException("The connection to the receiver was lost");
        return;
    }
    const bool request = content.needsReply;
    std::shared_ptr<QueueCore> queue;
    try {
        queue = ResolveTarget(content.target);
    } catch (const dom::Exception&) {
        // A one-way message is fire and forget: its sender never learns what
        // became of it, so one for a receiver that has gone is dropped, as a
        // lost one is. Only a sender that waits is told. So an actor that
        // calls back a client which went away without a word goes on serving.
        if (request) throw;
        return;
    }
    if (request && !content.BeginRequest())
        throw dom::MessageProtocolException("The message was delivered again while awaiting its reply");
    // The caller's own actor cannot take the request from its queue while
    // the caller waits, so it is served here and now.
    if (request && queue->IsLoopThread()) {
        ServeMessage(*queue, message);
        content.Await();
        return;
    }
    if (!queue->Post(QueueItem{message, {}})) {
        if (!request) return;
        const char* text = "The target actor's queue has been shut down";
        content.Settle(Outcome::ActorShutdown, text);
        throw dom::ActorShutdownException(text);
    }
    if (request) content.Await();
}

bool RunLoop(const std::shared_ptr<QueueCore>& queue) {
    {
        std::lock_guard<std::mutex> hold(queue->mutex);
        if (queue->looping) return false;
        queue->looping = true;
        queue->loopThread = std::this_thread::get_id();
    }
    try {
        for (;;) {
            QueueItem item;
            if (!queue->Take(item)) break;
            if (item.task)
                item.task();
            else
                ServeMessage(*queue, item.message);
        }
    } catch (...) {
        EndLoop(*queue);
        throw;
    }
    EndLoop(*queue);
    return true;
}

}  // namespace devhost
