#include "devhost/platform/TraceLog.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <mutex>

namespace devhost {

namespace {

struct Sink {
    std::mutex mutex;
    std::deque<NumberedTraceEntry> window;  // consecutive numbers, oldest first
    unsigned long long last = 0;
    std::size_t capacity = TraceLog::kDefaultCapacity;
    bool echo = false;

    void Trim() {
        while (window.size() > capacity) window.pop_front();
    }
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
    sink.window.push_back(NumberedTraceEntry{++sink.last, std::move(entry)});
    sink.Trim();
}

std::vector<TraceEntry> TraceLog::Entries() {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    std::vector<TraceEntry> entries;
    entries.reserve(sink.window.size());
    for (const NumberedTraceEntry& each : sink.window) entries.push_back(each.entry);
    return entries;
}

std::vector<NumberedTraceEntry> TraceLog::EntriesSince(unsigned long long seq, std::size_t limit) {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    std::vector<NumberedTraceEntry> entries;
    if (sink.window.empty() || seq >= sink.last) return entries;
    // Numbers in the window are consecutive, so the first wanted one is found
    // by subtraction.
    const unsigned long long first = sink.window.front().seq;
    const std::size_t start = seq < first ? 0 : static_cast<std::size_t>(seq + 1 - first);
    const std::size_t end = std::min(sink.window.size(), start + limit);
    for (std::size_t i = start; i < end; ++i) entries.push_back(sink.window[i]);
    return entries;
}

unsigned long long TraceLog::LastSequence() {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    return sink.last;
}

void TraceLog::Clear() {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    sink.window.clear();
}

void TraceLog::SetCapacity(std::size_t entries) {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    sink.capacity = std::max<std::size_t>(1, entries);
    sink.Trim();
}

void TraceLog::SetEcho(bool toStderr) {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    sink.echo = toStderr;
}

}  // namespace devhost
