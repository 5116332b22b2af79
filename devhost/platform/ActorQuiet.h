#pragma once

#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"

namespace devhost {

// Units of work handed out so far in this process: messages and tasks queued
// for any actor, and jobs given to the host's other threads. Timers are not
// work: the host's only timers refresh progress displays, which tick for as
// long as a display runs.
unsigned long long WorkHandedOut();
void NoteWorkHandedOut();

// Returns once the actor that serves object has served everything queued for
// it before the call. A proxy stands for the actor of its remote object.
// False, at once, when there is no such actor or it has ended, and as soon as
// it ends while this waits.
bool WaitForActor(const du::SmartPtr<dom::ManagedObject>& object);

}  // namespace devhost
