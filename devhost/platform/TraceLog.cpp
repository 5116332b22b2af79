#include "devhost/platform/TraceLog.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <mutex>
#include <string_view>
#include <utility>

namespace devhost {

namespace {

struct StoredEntry {
    unsigned long long seq;
    std::string module, name;
    int type;
    TraceText text;
};

struct Sink {
    std::mutex mutex;
    std::deque<StoredEntry> window;  // consecutive numbers, oldest first
    unsigned long long last = 0;
    std::size_t capacity = TraceLog::kDefaultCapacity;
    bool echo = false;

    void Trim() {
        while (window.size() > capacity) window.pop_front();
    }
    // Where the entry numbered seq stands in the window, if it does.
    const StoredEntry* Find(unsigned long long seq) const {
        if (window.empty() || seq < window.front().seq || seq > last) return nullptr;
        return &window[static_cast<std::size_t>(seq - window.front().seq)];
    }
};

// The length of the longest head of text that is at most limit bytes and
// ends between two UTF-8 sequences.
std::size_t CutLength(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return text.size();
    std::size_t length = limit;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xc0) == 0x80) --length;
    return length;
}

NumberedTraceEntry Numbered(const StoredEntry& stored, std::size_t maxText) {
    const std::string_view text = stored.text.View();
    return NumberedTraceEntry{stored.seq,
                              TraceEntry{stored.module, stored.name, stored.type,
                                         std::string(text.substr(0, CutLength(text, maxText)))},
                              text.size()};
}

// Never destroyed: static destructors elsewhere may still trace.
Sink& TheSink() {
    static Sink* sink = new Sink;
    return *sink;
}

}  // namespace

void TraceLog::Append(TraceEntry entry) {
    Append(std::move(entry.module), std::move(entry.name), entry.type, TraceText(std::move(entry.text)));
}

void TraceLog::Append(std::string module, std::string name, int type, TraceText text) {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    if (sink.echo) {
        const std::string_view view = text.View();
        std::fprintf(stderr, "[%s:%s %d] ", module.c_str(), name.c_str(), type);
        std::fwrite(view.data(), 1, view.size(), stderr);
        if (view.empty() || view.back() != '\n') std::fputc('\n', stderr);
    }
    sink.window.push_back(StoredEntry{++sink.last, std::move(module), std::move(name), type, std::move(text)});
    sink.Trim();
}

std::vector<TraceEntry> TraceLog::Entries() {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    std::vector<TraceEntry> entries;
    entries.reserve(sink.window.size());
    for (const StoredEntry& each : sink.window) entries.push_back({each.module, each.name, each.type, each.text.Str()});
    return entries;
}

std::vector<NumberedTraceEntry> TraceLog::EntriesSince(unsigned long long seq, std::size_t limit, std::size_t maxText) {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    std::vector<NumberedTraceEntry> entries;
    if (sink.window.empty() || seq >= sink.last) return entries;
    // Numbers in the window are consecutive, so the first wanted one is found
    // by subtraction.
    const unsigned long long first = sink.window.front().seq;
    const std::size_t start = seq < first ? 0 : static_cast<std::size_t>(seq + 1 - first);
    const std::size_t end = std::min(sink.window.size(), start + limit);
    for (std::size_t i = start; i < end; ++i) entries.push_back(Numbered(sink.window[i], maxText));
    return entries;
}

bool TraceLog::EntryAt(unsigned long long seq, NumberedTraceEntry& entry) {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> hold(sink.mutex);
    const StoredEntry* found = sink.Find(seq);
    if (!found) return false;
    entry = Numbered(*found, found->text.Size());
    return true;
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
