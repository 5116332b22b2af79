#include "devhost/gateway/Sessions.h"

#include <algorithm>
#include <condition_variable>
#include <set>

#include "devhost/gateway/RandomText.h"
#include "devhost/platform/RawMessages.h"

namespace devhost::gateway {

namespace {

// Sessions that ended unused whose ids are remembered.
constexpr std::size_t kRememberedExpiries = 1024;

}  // namespace

// The part of a session that its callback objects reach from the client
// actor's thread; it outlives the session while a callback is being served.
struct Session::Events {
    using Clock = std::chrono::steady_clock;

    std::mutex mutex;
    std::mutex adding;
    std::condition_variable arrived;
    // Events by number, oldest first: those sent to a stream (kept so that a
    // stream that broke can be resumed) and, from next on, those waiting.
    std::deque<std::pair<unsigned long long, std::shared_ptr<const EventText>>> kept;
    unsigned long long next = 1;      // the first event no stream has been sent
    unsigned long long numbered = 0;  // the last number given
    std::size_t sentBytes = 0;
    std::size_t waitingBytes = 0;
    std::size_t bound = 0;
    bool ended = false;
    std::string reason;
    unsigned stream = 0;      // the newest stream
    unsigned openStreams = 0;
    Clock::time_point used = Clock::now();
    std::set<unsigned long long> own;  // object ids of the session's callback objects

    // Sent events are let go, oldest first, while everything kept passes
    // the bound or while the reader has confirmed them (up to upTo).
    void TrimSent(unsigned long long upTo = 0) {
        while (!kept.empty() && kept.front().first < next &&
               (kept.front().first <= upTo || sentBytes + waitingBytes > bound)) {
            sentBytes -= kept.front().second->Counted();
            kept.pop_front();
        }
    }

    void Finish(const std::string& why) {
        if (ended) return;
        ended = true;
        reason = why;
        // The events that no stream took are kept for the reader that comes
        // to learn why; those sent are no longer needed.
        TrimSent(next > 0 ? next - 1 : 0);
        arrived.notify_all();
    }

    // Writes a callback's event once, as the stream sends it, and keeps it.
    void Add(const InterfaceEntry& interface, const MethodEntry& method,
             const CallbackObject::ArgumentWriter& arguments) {
        // One callback at a time, so its number is known before its text is
        // written, and the text is written unlocked: a stream taking events
        // is not held up by a document of megabytes.
        std::lock_guard<std::mutex> alone(adding);
        unsigned long long seq = 0;
        {
            std::lock_guard<std::mutex> hold(mutex);
            if (ended) return;
            seq = numbered + 1;
        }
        std::shared_ptr<const EventText> text =
            WriteCallbackEvent(seq, interface.name, method.name, method.signature, arguments);
        const std::size_t counted = text->Counted();
        std::lock_guard<std::mutex> hold(mutex);
        if (ended) return;
        if (waitingBytes + counted > bound) {
            Finish("overflow: more than " + std::to_string(bound) + " bytes of events waited for a reader");
            return;
        }
        ++numbered;
        waitingBytes += counted;
        kept.emplace_back(numbered, std::move(text));
        TrimSent();
        arrived.notify_all();
    }
};

Session::Session(std::string id, const SignatureCatalog& catalog, ClientActor& actor, std::size_t eventBytes)
    : id_(std::move(id)), actor_(actor), events_(std::make_shared<Events>()) {
    events_->bound = eventBytes;
    std::weak_ptr<Events> events = events_;
    // The lookups hold the objects weakly through the session's own list,
    // which is complete before any of them is adopted and so before any
    // callback can arrive.
    objects_.owns = [events](const HandleValue& handle) {
        auto alive = events.lock();
        return alive && alive->own.count(handle.object) > 0;
    };
    auto* callbacks = &callbacks_;
    objects_.objectFor = [callbacks](const std::string& interfaceName) -> du::SmartPtr<dom::ManagedObject> {
        for (const auto& object : *callbacks)
            if (object->InterfaceName() == interfaceName) return object;
        return nullptr;
    };
    std::shared_ptr<Events> sink = events_;
    for (const InterfaceEntry& interface : catalog.Interfaces()) {
        if (interface.name == catalog.Served()) continue;
        callbacks_.push_back(new CallbackObject(interface, SessionObjects{nullptr, objects_.owns},
                                                [sink](const InterfaceEntry& i, const MethodEntry& m,
                                                       const CallbackObject::ArgumentWriter& arguments) {
                                                    sink->Add(i, m, arguments);
                                                }));
    }
    for (const auto& object : callbacks_) {
        actor_.Adopt(object);
        events_->own.insert(MakeHandle(object, 0).object);
    }
}

Session::~Session() { End("the gateway closed"); }

void Session::End(const std::string& reason) {
    {
        std::lock_guard<std::mutex> hold(events_->mutex);
        events_->Finish(reason);
        events_->arrived.notify_all();
    }
    for (const auto& object : callbacks_) actor_.Release(object);
}

bool Session::Ended(std::string* reason) const {
    std::lock_guard<std::mutex> hold(events_->mutex);
    if (reason) *reason = events_->reason;
    return events_->ended;
}

bool Session::OpenStream(const unsigned long long* after, unsigned& stream) {
    std::lock_guard<std::mutex> hold(events_->mutex);
    if (after && *after > events_->numbered) return false;
    if (after) {
        // The reader has what it numbered up to after: those are let go, and
        // what was sent after them is sent again.
        events_->next = *after + 1;
        events_->sentBytes = events_->waitingBytes = 0;
        for (const auto& [seq, text] : events_->kept)
            (seq < events_->next ? events_->sentBytes : events_->waitingBytes) += text->Counted();
        events_->TrimSent(*after);
        if (!events_->kept.empty()) events_->next = std::max(events_->next, events_->kept.front().first);
    }
    ++events_->openStreams;
    events_->used = Events::Clock::now();
    events_->arrived.notify_all();
    stream = ++events_->stream;
    return true;
}

void Session::CloseStream() {
    std::lock_guard<std::mutex> hold(events_->mutex);
    --events_->openStreams;
    events_->used = Events::Clock::now();
}

Session::Batch Session::Take(unsigned stream, std::chrono::milliseconds wait) {
    Batch batch;
    std::unique_lock<std::mutex> hold(events_->mutex);
    events_->arrived.wait_for(hold, wait, [&] {
        return events_->next <= events_->numbered || events_->ended || events_->stream != stream;
    });
    if (events_->stream != stream) {
        batch.replaced = true;
        return batch;
    }
    for (const auto& [seq, text] : events_->kept)
        if (seq >= events_->next) batch.events.emplace_back(seq, text);
    events_->next = events_->numbered + 1;
    events_->sentBytes += events_->waitingBytes;
    events_->waitingBytes = 0;
    events_->TrimSent();
    batch.ended = events_->ended;
    batch.reason = events_->reason;
    return batch;
}

unsigned long long Session::LastEvent() const {
    std::lock_guard<std::mutex> hold(events_->mutex);
    return events_->numbered;
}

void Session::Touch() {
    std::lock_guard<std::mutex> hold(events_->mutex);
    events_->used = Events::Clock::now();
}

bool Session::IdleSince(std::chrono::steady_clock::time_point moment) const {
    std::lock_guard<std::mutex> hold(events_->mutex);
    return events_->openStreams == 0 && events_->used < moment;
}

SessionTable::SessionTable(const SignatureCatalog& catalog, ClientActor& actor, SessionLimits limits)
    : catalog_(catalog), actor_(actor), limits_(limits) {}

SessionTable::~SessionTable() = default;

void SessionTable::EndIdle(std::vector<std::shared_ptr<Session>>& ended) {
    const auto moment = std::chrono::steady_clock::now() - limits_.idle;
    for (auto each = sessions_.begin(); each != sessions_.end();) {
        if (!each->second->IdleSince(moment)) {
            ++each;
            continue;
        }
        ended.push_back(each->second);
        expired_.push_back(each->first);
        if (expired_.size() > kRememberedExpiries) expired_.pop_front();
        each = sessions_.erase(each);
    }
}

std::shared_ptr<Session> SessionTable::Open() {
    std::vector<std::shared_ptr<Session>> idle;
    std::shared_ptr<Session> session;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        EndIdle(idle);
        std::string id = RandomHex(16);
        session = std::make_shared<Session>(id, catalog_, actor_, limits_.eventBytes);
        sessions_.emplace(std::move(id), session);
    }
    for (const auto& each : idle) each->End(IdleReason());
    return session;
}

void SessionTable::EndIdleSessions() {
    std::vector<std::shared_ptr<Session>> idle;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        EndIdle(idle);
    }
    for (const auto& each : idle) each->End(IdleReason());
}

std::shared_ptr<Session> SessionTable::Find(const std::string& id) {
    std::vector<std::shared_ptr<Session>> idle;
    std::shared_ptr<Session> session;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        EndIdle(idle);
        auto found = sessions_.find(id);
        if (found != sessions_.end()) session = found->second;
    }
    for (const auto& each : idle) each->End(IdleReason());
    if (session) session->Touch();
    return session;
}

bool SessionTable::Expired(const std::string& id, std::string& reason) const {
    std::lock_guard<std::mutex> hold(mutex_);
    if (std::find(expired_.begin(), expired_.end(), id) == expired_.end()) return false;
    reason = IdleReason();
    return true;
}

std::string SessionTable::IdleReason() const {
    return "expired: no stream and no call for " +
           std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(limits_.idle).count()) + " ms";
}

bool SessionTable::Close(const std::string& id, const std::string& reason) {
    std::shared_ptr<Session> session;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        auto found = sessions_.find(id);
        if (found == sessions_.end()) return false;
        session = found->second;
        sessions_.erase(found);
    }
    session->End(reason);
    return true;
}

std::vector<du::SmartPtr<dom::ManagedObject>> SessionTable::CallbackObjects() const {
    std::lock_guard<std::mutex> hold(mutex_);
    std::vector<du::SmartPtr<dom::ManagedObject>> objects;
    for (const auto& [id, session] : sessions_)
        for (const auto& object : session->Callbacks()) objects.push_back(object);
    return objects;
}

std::size_t SessionTable::Count() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return sessions_.size();
}

}  // namespace devhost::gateway
