#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "devhost/platform/MessageValue.h"
#include "dom/Message.h"

// The devhost's layout of a message, with the state of a request whose
// sender waits for its reply.
struct dom::Message::Content {
    enum class Outcome { Idle, Pending, Replied, BadTag, BadTable, NoReply, ActorShutdown, InvalidActor };

    short table = 0;
    short tag = 0;
    bool needsReply = false;
    std::vector<devhost::MessageValue> values;
    unsigned long long target = 0;  // id of the addressed object

    // Written on the serving thread while the request is in flight.
    bool replyWritten = false;
    bool badTag = false;
    bool badTable = false;

    // Marks a request as in flight; false when it is in flight already.
    bool BeginRequest();
    // Ends the request with its outcome and wakes its sender.
    void Settle(Outcome outcome, std::string failure = std::string());
    // The outcome that the serving side's flags give once the handler is done.
    Outcome ServedOutcome() const;
    // Blocks until the request is settled; throws the failure it ended with.
    void Await();

private:
    std::mutex mutex_;
    std::condition_variable settled_;
    Outcome outcome_ = Outcome::Idle;
    // True from BeginRequest until Settle, read without the mutex by a
    // sender that watches for its reply a moment before it sleeps.
    std::atomic<bool> pending_{false};
    std::string failure_;
};
