#include "devhost/platform/TraceLog.h"

#include <cstdio>
#include <mutex>

namespace devhost {

namespace {

struct Sink {
    std::mutex mutex;
    std::vector<TraceEntry> entries;
    bool echo = false;
};

// Never destroyed: static destructors elsewhere may still trace.
Sink& TheSink() {
    static Sink* sink = new Sink;
    return *sink;
}

}  // namespace

void TraceLog::Append(TraceEntry entry) {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    if (sink.echo) {
        std::fprintf(stderr, "[%s:%s %d] %s%s", entry.module.c_str(), entry.name.c_str(), entry.type,
                     entry.text.c_str(), !entry.text.empty() && entry.text.back() == '\n' ? "" : "\n");
    }
    sink.entries.push_back(std::move(entry));
}

std::vector<TraceEntry> TraceLog::Entries() {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    return sink.entries;
}

void TraceLog::Clear() {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    sink.entries.clear();
}

void TraceLog::SetEcho(bool toStderr) {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    sink.echo = toStderr;
}

}  // namespace devhost
