#include "devhost/gateway/Sessions.h"

#include <algorithm>
#include <condition_variable>
#include <set>
#include <string_view>
#include <variant>

#include "devhost/gateway/RandomText.h"
#include "devhost/platform/RawMessages.h"

namespace devhost::gateway {

namespace {

// Sessions that ended unused whose ids are remembered.
constexpr std::size_t kRememberedExpiries = 1024;

// An answer of the tree's state query: the one tree document that the
// module writes by hand with a "treeUpdateChanges" list, and only for that
// query (its visibility changes come in the writer's compact form).
bool IsStateAnswer(const InterfaceEntry& interface, const MethodEntry& method,
                   const std::vector<MessageValue>& values) {
    static constexpr std::string_view kHead = "{\n\n\"treeUpdateChanges\":\n[\n";
    if (interface.name != "webapi::TreeObserver" || method.name != "OnTreeUpdate" || values.empty()) return false;
    const auto* text = std::get_if<du::Symbol>(&values.front());
    return text && !text->IsNull() && std::string_view(text->safe_c_str(), text->length()).substr(0, kHead.size()) == kHead;
}

}  // namespace

// The part of a session that its callback objects reach from the client
// actor's thread; it outlives the session while a callback is being served.
struct Session::Events {
    using Clock = std::chrono::steady_clock;

    // The events of one lane by number, oldest first: those sent to a
    // stream (kept so that a stream that broke can be resumed) and, from next
    // on, those waiting.
    struct Queue {
        std::deque<std::pair<unsigned long long, std::shared_ptr<const EventText>>> kept;
        unsigned long long next = 1;  // the first event no stream has been sent
        std::size_t sentBytes = 0;
        std::size_t waitingBytes = 0;
        unsigned stream = 0;  // the newest stream
    };

    std::mutex mutex;
    std::mutex adding;
    std::condition_variable arrived;
    Queue lanes[kLanes];
    bool answersApart = false;
    unsigned long long numbered = 0;  // the last number given, in either lane
    std::size_t bound = 0;  // of the events waiting
    std::size_t keep = 0;   // of the events sent
    bool ended = false;
    std::string reason;
    unsigned openStreams = 0;
    Clock::time_point used = Clock::now();
    std::set<unsigned long long> own;  // object ids of the session's callback objects

    Queue& Of(Lane lane) { return lanes[static_cast<std::size_t>(lane)]; }

    std::size_t SentBytes() const { return lanes[0].sentBytes + lanes[1].sentBytes; }
    std::size_t WaitingBytes() const { return lanes[0].waitingBytes + lanes[1].waitingBytes; }

    // A lane's sent events are let go, oldest first, while those kept pass
    // their bound or while the reader has confirmed them (up to upTo).
    void TrimSent(Queue& queue, unsigned long long upTo = 0) {
        while (!queue.kept.empty() && queue.kept.front().first < queue.next &&
               (queue.kept.front().first <= upTo || SentBytes() > keep)) {
            queue.sentBytes -= queue.kept.front().second->Counted();
            queue.kept.pop_front();
        }
    }

    void Finish(const std::string& why) {
        if (ended) return;
        ended = true;
        reason = why;
        // The events that no stream took are kept for the reader that comes
        // to learn why; those sent are no longer needed.
        for (Queue& queue : lanes) TrimSent(queue, queue.next > 0 ? queue.next - 1 : 0);
        arrived.notify_all();
    }

    // Writes a callback's event once, as the stream sends it, and keeps it.
    void Add(const InterfaceEntry& interface, const MethodEntry& method, const std::vector<MessageValue>& values,
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
        Queue& queue = Of(answersApart && IsStateAnswer(interface, method, values) ? Lane::Answers : Lane::Main);
        std::lock_guard<std::mutex> hold(mutex);
        if (ended) return;
        if (WaitingBytes() + counted > bound) {
            Finish("overflow: more than " + std::to_string(bound) + " bytes of events waited for a reader");
            return;
        }
        ++numbered;
        queue.waitingBytes += counted;
        queue.kept.emplace_back(numbered, std::move(text));
        TrimSent(queue);
        arrived.notify_all();
    }
};

Session::Session(std::string id, const SignatureCatalog& catalog, ClientActor& actor, const SessionLimits& limits,
                 bool answersApart)
    : id_(std::move(id)), actor_(actor), events_(std::make_shared<Events>()) {
    events_->bound = limits.eventBytes;
    events_->keep = std::min(limits.keptBytes, limits.eventBytes);
    events_->answersApart = answersApart;
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
                                                       const std::vector<MessageValue>& values,
                                                       const CallbackObject::ArgumentWriter& arguments) {
                                                    sink->Add(i, m, values, arguments);
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

bool Session::OpenStream(Lane lane, const unsigned long long* after, unsigned& stream) {
    std::lock_guard<std::mutex> hold(events_->mutex);
    if (after && *after > events_->numbered) return false;
    Events::Queue& queue = events_->Of(lane);
    if (after) {
        // The reader has what it numbered up to after: those are let go, and
        // what was sent after them is sent again.
        queue.next = *after + 1;
        queue.sentBytes = queue.waitingBytes = 0;
        for (const auto& [seq, text] : queue.kept) (seq < queue.next ? queue.sentBytes : queue.waitingBytes) += text->Counted();
        events_->TrimSent(queue, *after);
        if (!queue.kept.empty()) queue.next = std::max(queue.next, queue.kept.front().first);
    }
    ++events_->openStreams;
    events_->used = Events::Clock::now();
    events_->arrived.notify_all();
    stream = ++queue.stream;
    return true;
}

void Session::CloseStream() {
    std::lock_guard<std::mutex> hold(events_->mutex);
    --events_->openStreams;
    events_->used = Events::Clock::now();
}

Session::Batch Session::Take(Lane lane, unsigned stream, std::chrono::milliseconds wait) {
    Batch batch;
    std::unique_lock<std::mutex> hold(events_->mutex);
    Events::Queue& queue = events_->Of(lane);
    const auto waiting = [&] { return !queue.kept.empty() && queue.kept.back().first >= queue.next; };
    events_->arrived.wait_for(hold, wait, [&] { return waiting() || events_->ended || queue.stream != stream; });
    if (queue.stream != stream) {
        batch.replaced = true;
        return batch;
    }
    for (const auto& [seq, text] : queue.kept)
        if (seq >= queue.next) batch.events.emplace_back(seq, text);
    queue.next = events_->numbered + 1;
    queue.sentBytes += queue.waitingBytes;
    queue.waitingBytes = 0;
    events_->TrimSent(queue);
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

std::shared_ptr<Session> SessionTable::Open(bool answersApart) {
    std::vector<std::shared_ptr<Session>> idle;
    std::shared_ptr<Session> session;
    {
        std::lock_guard<std::mutex> hold(mutex_);
        EndIdle(idle);
        std::string id = RandomHex(16);
        session = std::make_shared<Session>(id, catalog_, actor_, limits_, answersApart);
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
