#pragma once

#include <vector>

#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"

namespace devhost {

// Returns once the host is quiet for the given actors: the host worker has
// nothing left to do, and each actor serving one of the objects (a proxy
// stands for its remote object's actor) has served everything, including
// what they and the worker hand one another while this waits. Pass the
// module (or a proxy of it) and the client's callback objects. A running
// progress display's refresh timer does not count as work. Actors that have
// ended are passed over; then, or for a null object, the result is false.
bool Settle(const std::vector<du::SmartPtr<dom::ManagedObject>>& actors);

}  // namespace devhost
