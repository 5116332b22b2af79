#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "dom/ManagedObject.h"
#include "dom/Message.h"
#include "dom/MessageQueue.h"
#include "du/SmartPtr.h"

namespace devhost {

// One unit of work for an actor: a message, or a task posted for one of its
// objects.
struct QueueItem {
    dom::MessagePtr message;
    std::function<void()> task;
    bool work = true;  // false for a mark that only shows how far the loop has come
};

// A timer of one of the queue's objects, due to call its HandleTimeoutEvent.
struct QueueTimer {
    unsigned long long object;
    long long timerId;
};

// The state of an actor's queue. It outlives the dom::MessageQueue that
// carries it as long as an object's binding still names it, so that senders
// to a released object can be told that its actor was shut down.
struct QueueCore {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<QueueItem> items;
    std::multimap<std::chrono::steady_clock::time_point, QueueTimer> timers;
    bool shutdown = false;  // no further items are taken
    bool stopNow = false;   // the loop ends after the item being served
    bool looping = false;
    bool serving = false;  // the loop is running an item it took
    std::thread::id loopThread;
    // The queue keeps its objects alive until it is closed.
    std::vector<du::SmartPtr<dom::ManagedObject>> bound;
    std::atomic<unsigned int> host{0};
    // Bumped under the mutex by whatever may end the loop's wait (an item, a
    // timer, a shutdown), so that the loop can watch for it without the
    // mutex for a moment before it sleeps.
    std::atomic<unsigned long long> changes{0};

    // Waits for the next work of the loop: a due timer first, then the
    // oldest item. False when the loop is to end.
    bool Take(QueueItem& item);
    // Queues an item; false when the queue is shut down.
    bool Post(QueueItem item);
    // Shuts the queue down for good: unbinds its objects and fails the
    // requests still queued with dom::ActorShutdownException. Idempotent.
    void Close();
    // Fails the requests among items that will never be served.
    static void FailUnserved(std::deque<QueueItem>& dropped);
    // True when called on the thread that runs this queue's loop.
    bool IsLoopThread();
    bool IsShutdown();
    // True when a loop runs the queue and has served everything queued:
    // nothing waits and nothing is being served. Timers do not count.
    bool IsIdle();
};

}  // namespace devhost

struct dom::MessageQueue::State {
    std::shared_ptr<devhost::QueueCore> core = std::make_shared<devhost::QueueCore>();
};
