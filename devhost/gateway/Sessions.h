#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "devhost/client/ClientActor.h"
#include "devhost/gateway/CallbackObject.h"
#include "devhost/gateway/EventText.h"
#include "devhost/gateway/SignatureCatalog.h"

namespace devhost::gateway {

// How much a session may hold and how long it may sit unused.
struct SessionLimits {
    // Bytes of event text that may wait for a reader. Past that the session
    // ends, so a reader that falls behind loses nothing silently. It holds
    // a registration's documents whole: those of a tree of 7,000,000
    // instances are some 800 MB, which the module sends at once.
    std::size_t eventBytes = std::size_t{1} << 30;
    // Bytes of events already sent that are kept, so that a reader that
    // lost its connection gets them again; past that (or eventBytes, if
    // less) they are let go oldest first.
    std::size_t keptBytes = 64u << 20;
    // A session with no open stream and no call for this long ends.
    std::chrono::steady_clock::duration idle = std::chrono::minutes(10);
};

// The streams of a session. The answers of the tree's state query may be
// kept apart from the rest, so that a client that asked for the states of
// the rows it shows gets them at once, not behind tens of megabytes of a
// large tree's documents.
enum class Lane { Main, Answers };
constexpr std::size_t kLanes = 2;

// A web client's session: one callback object of each callback interface of
// the catalogue, living on the gateway's client actor, and the events those
// objects received. Its id is a random text that only its client knows.
class Session {
public:
    // With answersApart, the state query's answers go to the Answers lane;
    // otherwise every event goes to the Main one.
    Session(std::string id, const SignatureCatalog& catalog, ClientActor& actor, const SessionLimits& limits,
            bool answersApart);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const std::string& Id() const { return id_; }
    const std::vector<du::SmartPtr<CallbackObject>>& Callbacks() const { return callbacks_; }
    const SessionObjects& Objects() const { return objects_; }

    // Ends the session: its objects are let go (what the module still sends
    // them is dropped), its events too, and its streams are told why.
    // Harmless when ended.
    void End(const std::string& reason);
    // True once ended, by End or by an overflow; reason says why.
    bool Ended(std::string* reason = nullptr) const;

    // A stream takes the events of its lane in arrival order; the numbers
    // are the session's, shared by both lanes. A new stream of a lane
    // replaces the one before, which then gets replaced set. It goes on after
    // the last event sent to the lane's stream, or, given after, after that
    // event: the reader has everything of the lane up to it, so those events
    // are let go, and what was sent after it is sent again. An after beyond
    // the session's last event is refused (false) and changes nothing.
    struct Batch {
        // Number and text as the stream writes it; the texts are shared with
        // the kept events, so a large tree document is never copied.
        std::vector<std::pair<unsigned long long, std::shared_ptr<const EventText>>> events;
        bool ended = false;               // ended, and every event taken
        std::string reason;
        bool replaced = false;
    };
    bool OpenStream(Lane lane, const unsigned long long* after, unsigned& stream);
    // A stream ended, by its reader or by the gateway.
    void CloseStream();
    // Waits up to wait for events of the lane, then takes all that wait.
    Batch Take(Lane lane, unsigned stream, std::chrono::milliseconds wait);
    // The last event's number.
    unsigned long long LastEvent() const;

    // A call of the session's client: the session is in use.
    void Touch();
    // True when no stream is open and nothing touched the session since
    // before the moment given.
    bool IdleSince(std::chrono::steady_clock::time_point moment) const;

private:
    struct Events;
    const std::string id_;
    ClientActor& actor_;
    std::shared_ptr<Events> events_;
    SessionObjects objects_;
    std::vector<du::SmartPtr<CallbackObject>> callbacks_;
};

// The open sessions by id. Thread-safe.
class SessionTable {
public:
    SessionTable(const SignatureCatalog& catalog, ClientActor& actor, SessionLimits limits);
    ~SessionTable();

    std::shared_ptr<Session> Open(bool answersApart = false);
    // An open session, or null. A session that ended by itself is still
    // found, so that its caller can be told why.
    std::shared_ptr<Session> Find(const std::string& id);
    // Why a session that is no longer found ended, when it ended unused;
    // false for an id never given out or closed by its client.
    bool Expired(const std::string& id, std::string& reason) const;
    // Ends the session and forgets it; false for an unknown id.
    bool Close(const std::string& id, const std::string& reason);
    std::size_t Count() const;
    // Ends the sessions that sat unused past the limit, as Open and Find do,
    // for a gateway that no request reaches.
    void EndIdleSessions();
    // The callback objects of every open session.
    std::vector<du::SmartPtr<dom::ManagedObject>> CallbackObjects() const;

private:
    // Ends the sessions that sat unused past the limit; the lock is held.
    void EndIdle(std::vector<std::shared_ptr<Session>>& ended);
    std::string IdleReason() const;

    const SignatureCatalog& catalog_;
    ClientActor& actor_;
    const SessionLimits limits_;
    mutable std::mutex mutex_;
    std::map<std::string, std::shared_ptr<Session>> sessions_;
    // The latest sessions that ended unused, so that their clients are told
    // (a bounded number: an old id is forgotten in the end).
    std::deque<std::string> expired_;
};

}  // namespace devhost::gateway
