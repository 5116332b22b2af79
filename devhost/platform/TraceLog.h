#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace devhost {

// One entry written through a dp::QXTracer: the tracer's two names, the
// trace type (-1 for an entry written without one) and the text.
struct TraceEntry {
    std::string module, name;
    int type;
    std::string text;
};

// An entry with its place in the process's trace: sequence numbers start at
// 1 and grow by one per entry, and are never reused, not even by Clear.
struct NumberedTraceEntry {
    unsigned long long seq;
    TraceEntry entry;
};

// The process-wide trace sink. Thread-safe. It keeps a window of the latest
// entries, so that a host that runs for days holds a bounded trace.
class TraceLog {
public:
    static constexpr std::size_t kDefaultCapacity = 200000;

    static void Append(TraceEntry entry);
    // A copy of every entry in the window since the last Clear, oldest first.
    static std::vector<TraceEntry> Entries();
    // The entries of the window numbered above seq, oldest first, at most
    // limit of them.
    static std::vector<NumberedTraceEntry> EntriesSince(unsigned long long seq, std::size_t limit);
    // The number of the latest entry, 0 before the first.
    static unsigned long long LastSequence();
    static void Clear();
    // How many entries the window keeps (at least 1); the oldest go first.
    static void SetCapacity(std::size_t entries);
    // Also write each entry to stderr as it comes.
    static void SetEcho(bool toStderr);
};

}  // namespace devhost
