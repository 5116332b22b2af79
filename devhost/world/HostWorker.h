#pragma once

#include <functional>

namespace devhost {

// The host's background thread, on which host work such as the reading of
// proxies finishes, as it would on a real viewer's loader thread. A job that
// throws ends there, with a trace entry; the worker goes on.
void RunOnHostWorker(std::function<void()> job);

// Waits until every job posted so far, and every job they posted, has run.
void DrainHostWorker();

}  // namespace devhost
