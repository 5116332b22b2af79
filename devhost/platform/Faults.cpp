#include "devhost/platform/Faults.h"

#include <atomic>
#include <map>
#include <mutex>
#include <stdexcept>

#include "dom/Exceptions.h"

namespace devhost {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::string, Fault, std::less<>> faults;
    // Spares the lock at every fault point while nothing is armed.
    std::atomic<bool> any{false};
};

Registry& TheRegistry() {
    static Registry* registry = new Registry;
    return *registry;
}

}  // namespace

void ArmFault(const std::string& point, Fault fault) {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> hold(r.mutex);
    // A fault with no hits left is no fault.
    if (fault.count == 0)
        r.faults.erase(point);
    else
        r.faults[point] = std::move(fault);
    r.any.store(!r.faults.empty());
}

void DisarmFault(const std::string& point) {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> hold(r.mutex);
    r.faults.erase(point);
    r.any.store(!r.faults.empty());
}

void DisarmAllFaults() {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> hold(r.mutex);
    r.faults.clear();
    r.any.store(false);
}

bool HitFault(const char* point) {
    Registry& r = TheRegistry();
    if (!point || !r.any.load()) return false;
    Fault fault;
    {
        std::lock_guard<std::mutex> hold(r.mutex);
        auto armed = r.faults.find(std::string_view(point));
        if (armed == r.faults.end()) return false;
        if (armed->second.skip > 0) {
            --armed->second.skip;
            return false;
        }
        fault = armed->second;
        if (armed->second.count > 0 && --armed->second.count == 0) {
            r.faults.erase(armed);
            r.any.store(!r.faults.empty());
        }
    }
    switch (fault.kind) {
    case FaultKind::Fail:
        return true;
    case FaultKind::ThrowStd:
        throw std::runtime_error(fault.text);
    case FaultKind::ThrowActorShutdown:
        throw dom::ActorShutdownException(fault.text);
    case FaultKind::ThrowConnectionLost:
        throw dom::ConnectionLostException(fault.text);
    case FaultKind::ThrowMessageProtocol:
        throw dom::MessageProtocolException(fault.text);
    case FaultKind::ThrowInvalidActor:
        throw dom::InvalidActorException(fault.text);
    case FaultKind::ThrowUnknown:
        throw 0;
    }
    return false;
}

}  // namespace devhost
