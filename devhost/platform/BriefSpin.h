#pragma once

#include <chrono>
#include <thread>

namespace devhost {

// How long a thread about to sleep on its actor's queue, or on the reply to
// its request, keeps looking first. A reply, or a client's next call, mostly
// comes within a few microseconds, sooner than a sleeping thread is woken
// again; the wait stays short so that an idle actor gives its core away.
constexpr std::chrono::microseconds kBriefSpin{20};

// Polls ready() until it answers true or the spin time is over; true when it did.
template <class Ready>
bool SpinBriefly(Ready ready) {
    const std::chrono::steady_clock::time_point until = std::chrono::steady_clock::now() + kBriefSpin;
    for (unsigned round = 1;; ++round) {
        if (ready()) return true;
        if (round % 4 == 0 && std::chrono::steady_clock::now() >= until) return false;
        std::this_thread::yield();
    }
}

}  // namespace devhost
