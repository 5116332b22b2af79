#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "devhost/client/ClientActor.h"
#include "devhost/gateway/CallbackObject.h"
#include "devhost/gateway/SignatureCatalog.h"

namespace devhost::gateway {

// A web client's session: one callback object of each callback interface of
// the catalogue, living on the gateway's client actor, and the events those
// objects received that no stream has taken yet. At most bound events wait:
// past that the session ends, so a reader that falls behind loses nothing
// silently.
class Session {
public:
    Session(unsigned long long id, const SignatureCatalog& catalog, ClientActor& actor, std::size_t bound);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    unsigned long long Id() const { return id_; }
    const std::vector<du::SmartPtr<CallbackObject>>& Callbacks() const { return callbacks_; }
    const SessionObjects& Objects() const { return objects_; }

    // Ends the session: its objects are let go (what the module still sends
    // them is dropped) and its streams are told why. Harmless when ended.
    void End(const std::string& reason);
    // True once ended, by End or by an overflow; reason says why.
    bool Ended(std::string* reason = nullptr) const;

    // A stream takes the events in arrival order. A new stream replaces the
    // one before, which then gets replaced set. It goes on after the last
    // event sent to a stream, or, given after, after that event: events
    // sent to a stream that broke are kept (as many as the bound) so that a
    // reader can resume from the last one it got.
    struct Batch {
        // Number and JSON text; the texts are shared with the kept events, so
        // a large tree document is not copied while the session is locked.
        std::vector<std::pair<unsigned long long, std::shared_ptr<const std::string>>> events;
        bool ended = false;               // ended, and every event taken
        std::string reason;
        bool replaced = false;
    };
    unsigned OpenStream(const unsigned long long* after = nullptr);
    // Waits up to wait for events, then takes all that wait.
    Batch Take(unsigned stream, std::chrono::milliseconds wait);

private:
    struct Events;
    const unsigned long long id_;
    ClientActor& actor_;
    std::shared_ptr<Events> events_;
    SessionObjects objects_;
    std::vector<du::SmartPtr<CallbackObject>> callbacks_;
};

// The open sessions by id. Thread-safe.
class SessionTable {
public:
    SessionTable(const SignatureCatalog& catalog, ClientActor& actor, std::size_t bound);
    ~SessionTable();

    std::shared_ptr<Session> Open();
    // An open session, or null. A session that ended by itself is still
    // found, so that its caller can be told why.
    std::shared_ptr<Session> Find(unsigned long long id) const;
    // Ends the session and forgets it; false for an unknown id.
    bool Close(unsigned long long id, const std::string& reason);
    std::size_t Count() const;
    // The callback objects of every open session.
    std::vector<du::SmartPtr<dom::ManagedObject>> CallbackObjects() const;

private:
    const SignatureCatalog& catalog_;
    ClientActor& actor_;
    const std::size_t bound_;
    mutable std::mutex mutex_;
    unsigned long long next_ = 1;
    std::map<unsigned long long, std::shared_ptr<Session>> sessions_;
};

}  // namespace devhost::gateway
