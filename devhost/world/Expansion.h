#pragma once

#include <set>
#include <string>
#include <vector>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/AsyncEvent.h"

namespace devhost {

// One call of ExpandProxy: the proxies it waits for and its event. The read
// holds no reference to the event (its maker keeps it until it completes,
// an actor keeps the events placed under it), only its id: a read that ends
// after the event has gone, with its maker's code perhaps, tells nobody.
struct Expansion {
    unsigned long long eventId = 0;  // 0: no event
    std::set<du::Symbol>* loadedPaths = nullptr;
    std::size_t outstanding = 0;
    bool failed = false;
};

// Proxies whose read has started and not finished (manual or never-answering
// ones, and automatic ones not yet done), by idpath.
std::vector<std::string> PendingExpansions();
// Finishes the read of a pending proxy, with success or failure, whatever
// the proxy was told to do. False when no read of that proxy is pending.
bool ResolvePendingExpansion(const std::string& idPath, bool success);
// Finishes every pending manual read as its proxy was told to (expand or
// fail); never-answering reads stay. Gives the number finished.
int ReleasePendingExpansions();

}  // namespace devhost
