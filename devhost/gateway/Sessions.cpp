#include "devhost/gateway/Sessions.h"

#include <condition_variable>
#include <algorithm>
#include <deque>
#include <set>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "devhost/platform/RawMessages.h"

namespace devhost::gateway {

// The part of a session that its callback objects reach from the client
// actor's thread; it outlives the session while a callback is being served.
struct Session::Events {
    std::mutex mutex;
    std::condition_variable arrived;
    // Events by number, oldest first: those sent to a stream (kept so that a
    // stream that broke can be resumed) and, from next on, those waiting.
    std::deque<std::pair<unsigned long long, std::shared_ptr<const std::string>>> kept;
    unsigned long long next = 1;     // the first event no stream has been sent
    unsigned long long numbered = 0;  // the last number given
    std::size_t bound = 0;
    bool ended = false;
    std::string reason;
    unsigned stream = 0;  // the newest stream
    std::set<unsigned long long> own;  // object ids of the session's callback objects

    std::size_t Waiting() const { return static_cast<std::size_t>(numbered + 1 - next); }

    // Sent events beyond the bound are let go, oldest first.
    void TrimSent() {
        while (!kept.empty() && kept.front().first < next && kept.size() - Waiting() > bound) kept.pop_front();
    }

    void Add(const InterfaceEntry& interface, const MethodEntry& method, Json& args, JsonAllocator& allocator) {
        std::lock_guard<std::mutex> hold(mutex);
        if (ended) return;
        if (Waiting() >= bound) {
            ended = true;
            reason = "overflow: " + std::to_string(bound) + " events waited for a reader";
            arrived.notify_all();
            return;
        }
        rapidjson::Document event(rapidjson::kObjectType, &allocator);
        event.AddMember("seq", static_cast<std::uint64_t>(++numbered), allocator);
        event.AddMember("interface", Json(interface.name.c_str(), allocator), allocator);
        event.AddMember("method", Json(method.name.c_str(), allocator), allocator);
        event.AddMember("signature", Json(method.signature.c_str(), allocator), allocator);
        event.AddMember("args", args, allocator);
        rapidjson::StringBuffer text;
        rapidjson::Writer<rapidjson::StringBuffer> writer(text);
        event.Accept(writer);
        kept.emplace_back(numbered, std::make_shared<const std::string>(text.GetString(), text.GetSize()));
        arrived.notify_all();
    }
};

Session::Session(unsigned long long id, const SignatureCatalog& catalog, ClientActor& actor, std::size_t bound)
    : id_(id), actor_(actor), events_(std::make_shared<Events>()) {
    events_->bound = bound;
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
                                                [sink](const InterfaceEntry& i, const MethodEntry& m, Json& args,
                                                       JsonAllocator& allocator) { sink->Add(i, m, args, allocator); }));
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
        if (!events_->ended) {
            events_->ended = true;
            events_->reason = reason;
        }
        events_->arrived.notify_all();
    }
    for (const auto& object : callbacks_) actor_.Release(object);
}

bool Session::Ended(std::string* reason) const {
    std::lock_guard<std::mutex> hold(events_->mutex);
    if (reason) *reason = events_->reason;
    return events_->ended;
}

unsigned Session::OpenStream(const unsigned long long* after) {
    std::lock_guard<std::mutex> hold(events_->mutex);
    if (after) {
        // The reader has what it numbered up to after: what it missed is sent again.
        events_->next = std::min(*after, events_->numbered) + 1;
        while (!events_->kept.empty() && events_->kept.front().first <= *after) events_->kept.pop_front();
        if (!events_->kept.empty()) events_->next = std::max(events_->next, events_->kept.front().first);
    }
    events_->arrived.notify_all();
    return ++events_->stream;
}

Session::Batch Session::Take(unsigned stream, std::chrono::milliseconds wait) {
    Batch batch;
    std::unique_lock<std::mutex> hold(events_->mutex);
    events_->arrived.wait_for(hold, wait, [&] {
        return events_->Waiting() > 0 || events_->ended || events_->stream != stream;
    });
    if (events_->stream != stream) {
        batch.replaced = true;
        return batch;
    }
    for (const auto& [seq, text] : events_->kept)
        if (seq >= events_->next) batch.events.emplace_back(seq, text);
    events_->next = events_->numbered + 1;
    events_->TrimSent();
    batch.ended = events_->ended;
    batch.reason = events_->reason;
    return batch;
}

SessionTable::SessionTable(const SignatureCatalog& catalog, ClientActor& actor, std::size_t bound)
    : catalog_(catalog), actor_(actor), bound_(bound) {}

SessionTable::~SessionTable() = default;

std::shared_ptr<Session> SessionTable::Open() {
    std::lock_guard<std::mutex> hold(mutex_);
    const unsigned long long id = next_++;
    auto session = std::make_shared<Session>(id, catalog_, actor_, bound_);
    sessions_.emplace(id, session);
    return session;
}

std::shared_ptr<Session> SessionTable::Find(unsigned long long id) const {
    std::lock_guard<std::mutex> hold(mutex_);
    auto found = sessions_.find(id);
    return found == sessions_.end() ? nullptr : found->second;
}

bool SessionTable::Close(unsigned long long id, const std::string& reason) {
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
