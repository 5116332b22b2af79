#pragma once

#include "qxk/AsyncEvent.h"

namespace devhost {

// Lets the actor go of an event that was made to release when done and is
// still managed: the host's events do so once they have completed, and a
// progress display once it has ended.
void ReleaseIfDone(qxk::BaseAsyncEvent& event);

}  // namespace devhost
