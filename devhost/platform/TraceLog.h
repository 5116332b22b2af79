#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "devhost/platform/TraceText.h"

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
// The text may be a cut of the entry's; length is the whole text's.
struct NumberedTraceEntry {
    unsigned long long seq;
    TraceEntry entry;
    std::size_t length;
};

// The process-wide trace sink. Thread-safe. It keeps a window of the latest
// entries, so that a host that runs for days holds a bounded trace.
class TraceLog {
public:
    static constexpr std::size_t kDefaultCapacity = 200000;

    static void Append(TraceEntry entry);
    // The same, with the text as it was written, kept without a copy.
    static void Append(std::string module, std::string name, int type, TraceText text);
    // A copy of every entry in the window since the last Clear, oldest first.
    static std::vector<TraceEntry> Entries();
    // The entries of the window numbered above seq, oldest first, at most
    // limit of them, each text cut to at most maxText bytes where it is
    // longer; a cut never falls inside a UTF-8 sequence.
    static std::vector<NumberedTraceEntry> EntriesSince(unsigned long long seq, std::size_t limit,
                                                        std::size_t maxText = std::numeric_limits<std::size_t>::max());
    // The whole entry numbered seq; false when the window does not hold it.
    static bool EntryAt(unsigned long long seq, NumberedTraceEntry& entry);
    // The number of the latest entry, 0 before the first.
    static unsigned long long LastSequence();
    static void Clear();
    // How many entries the window keeps (at least 1); the oldest go first.
    static void SetCapacity(std::size_t entries);
    // Also write each entry to stderr as it comes.
    static void SetEcho(bool toStderr);
};

}  // namespace devhost
