#include "devhost/platform/PeerHosts.h"

#include <map>
#include <mutex>
#include <utility>

#include "devhost/platform/QueueCore.h"

namespace devhost {

namespace {

struct Peers {
    std::mutex mutex;
    std::map<std::pair<unsigned int, du::Symbol>, std::vector<du::Symbol>> interfaces;
};

Peers& ThePeers() {
    static Peers* peers = new Peers;
    return *peers;
}

}  // namespace

void RegisterPeerInterface(unsigned int host, const du::Symbol& interfaceName,
                           std::vector<du::Symbol> signaturesInDeclarationOrder) {
    Peers& peers = ThePeers();
    std::lock_guard<std::mutex> hold(peers.mutex);
    peers.interfaces[{host, interfaceName}] = std::move(signaturesInDeclarationOrder);
}

bool FindPeerInterface(unsigned int host, const du::Symbol& interfaceName, std::vector<du::Symbol>& signatures) {
    Peers& peers = ThePeers();
    std::lock_guard<std::mutex> hold(peers.mutex);
    auto found = peers.interfaces.find({host, interfaceName});
    if (found == peers.interfaces.end()) return false;
    signatures = found->second;
    return true;
}

void SetQueueHost(const du::SmartPtr<dom::MessageQueue>& queue, unsigned int host) {
    if (queue) queue->GetState().core->host.store(host);
}

}  // namespace devhost
