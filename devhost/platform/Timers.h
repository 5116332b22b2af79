#pragma once

#include <chrono>

#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"

namespace devhost {

// Calls object->HandleTimeoutEvent(timerId) on its actor thread once the
// delay has passed, in turn with its messages. Starting a timer that is
// already set sets it anew. False when the object is not managed or its
// queue is shut down; timers die with the queue.
bool StartTimer(const du::SmartPtr<dom::ManagedObject>& object, long long timerId, std::chrono::milliseconds delay);

// False when no such timer was waiting.
bool CancelTimer(const du::SmartPtr<dom::ManagedObject>& object, long long timerId);

}  // namespace devhost
