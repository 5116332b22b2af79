#pragma once

#include <memory>

#include "devhost/platform/QueueCore.h"
#include "dom/Message.h"

namespace devhost {

// Sends a message to the object it is addressed to. A request blocks until
// it is settled and throws how it failed; a request to an object of the
// caller's own actor is served inline.
void Deliver(const dom::MessagePtr& message);

// Serves the queue on the calling thread until it is shut down or an item
// throws; the queue is closed either way. False when another loop serves it.
bool RunLoop(const std::shared_ptr<QueueCore>& queue);

}  // namespace devhost
