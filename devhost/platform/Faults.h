#pragma once

#include <string>

namespace devhost {

// Fault injection for the whole development host. A fault point is named
// after its operation. The platform's points, and what Fail does at each:
//   "du::CommonAllocatorImpl::Allocate"   null (any kind reads as Fail here)
//   "dp::Thread::Start"                   false, no thread
//   "dom::ManagedObject::ManageSelf"      false, not bound
//   "dom::ManagedObject::ManageObject"    false, not bound
//   "dom::ManagedObject::DeliverMessage"  one-way: lost; request:
//                                         dom::ConnectionLostException
//   "dom::MessageWriter::StartMessageReply"  no reply is written
enum class FaultKind {
    Fail,                  // the operation gives null or false
    ThrowStd,              // std::runtime_error(text)
    ThrowActorShutdown,    // dom::ActorShutdownException(text)
    ThrowConnectionLost,   // dom::ConnectionLostException(text)
    ThrowMessageProtocol,  // dom::MessageProtocolException(text)
    ThrowInvalidActor,     // dom::InvalidActorException(text)
    ThrowUnknown           // an int, which no std::exception clause catches
};

struct Fault {
    FaultKind kind;
    std::string text;
    int count = -1;  // hits left before the fault disarms itself; -1: every hit
    int skip = 0;    // hits passed over, as if unarmed, before the fault acts
};

void ArmFault(const std::string& point, Fault fault);
void DisarmFault(const std::string& point);
void DisarmAllFaults();

// At a fault point: throws for the Throw kinds, returns true for Fail, and
// false when the point is not armed or still skipping. A skipped hit does not
// count against count.
bool HitFault(const char* point);

}  // namespace devhost
