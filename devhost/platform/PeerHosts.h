#pragma once

#include <vector>

#include "dom/MessageQueue.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace devhost {

// Peer hosts live in this process. A peer host is a number (0 is this host)
// with its own signature table per interface, possibly in another
// declaration order: the message id of a method on that host is its place
// in the list. Describe a peer before proxies for it are made: rebind
// tables are worked out once per factory and host.
void RegisterPeerInterface(unsigned int host, const du::Symbol& interfaceName,
                           std::vector<du::Symbol> signaturesInDeclarationOrder);

// The signatures a peer described for an interface; false when it did not.
bool FindPeerInterface(unsigned int host, const du::Symbol& interfaceName, std::vector<du::Symbol>& signatures);

// Objects managed on this queue belong to the given host: handles to them
// carry it, and proxies for them rebind message ids to that host's.
void SetQueueHost(const du::SmartPtr<dom::MessageQueue>& queue, unsigned int host);

}  // namespace devhost
