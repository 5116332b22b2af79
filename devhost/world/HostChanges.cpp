#include "devhost/world/HostChanges.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace devhost {

namespace {

struct Observers {
    std::mutex mutex;
    std::vector<std::pair<int, HostChangeObserver>> list;
    int next = 1;
    std::atomic<int> count{0};
};

Observers& All() {
    static Observers observers;
    return observers;
}

}  // namespace

int AddHostChangeObserver(HostChangeObserver observer) {
    Observers& all = All();
    std::lock_guard<std::mutex> lock(all.mutex);
    all.list.emplace_back(all.next, std::move(observer));
    all.count = static_cast<int>(all.list.size());
    return all.next++;
}

void RemoveHostChangeObserver(int id) {
    Observers& all = All();
    std::lock_guard<std::mutex> lock(all.mutex);
    all.list.erase(std::remove_if(all.list.begin(), all.list.end(), [id](const auto& each) { return each.first == id; }),
                   all.list.end());
    all.count = static_cast<int>(all.list.size());
}

bool HostChangesObserved() { return All().count.load(std::memory_order_relaxed) > 0; }

// Observers are called under the list's lock, so one removed is never
// called after its removal returned; they only take note, so none waits long.
void NoteHostChange(const HostChange& change) {
    if (!HostChangesObserved()) return;
    Observers& all = All();
    std::lock_guard<std::mutex> lock(all.mutex);
    for (const auto& each : all.list) each.second(change);
}

}  // namespace devhost
