#pragma once

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

// The process-wide trace sink. Thread-safe.
class TraceLog {
public:
    static void Append(TraceEntry entry);
    // A copy of every entry since the last Clear, oldest first.
    static std::vector<TraceEntry> Entries();
    static void Clear();
    // Also write each entry to stderr as it comes.
    static void SetEcho(bool toStderr);
};

}  // namespace devhost
