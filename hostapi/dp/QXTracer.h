#pragma once

#include <sstream>
#include <string>

namespace dp {

// Kinds of trace entry. Every error entry is TT_Error.
enum TraceType {
    TT_Info = 0,
    TT_Debug = 1,
    TT_Warning = 2,
    TT_Error = 3
};

class QXTracer;

// A stream that writes one trace entry when it goes out of scope.
class TraceFormatter {
public:
    TraceFormatter(const QXTracer& tracer, TraceType type);
    TraceFormatter(const TraceFormatter&) = delete;
    TraceFormatter& operator=(const TraceFormatter&) = delete;
    ~TraceFormatter();

    std::ostream& Stream() { return *text_; }

    template <class V>
    TraceFormatter& operator<<(const V& value) {
        *text_ << value;
        return *this;
    }

private:
    const QXTracer& tracer_;
    TraceType type_;
    // The thread's stream for entries, emptied and reset to the default
    // format, or a stream of its own while an entry being written on this
    // thread holds that one. Its text is handed to the sink, not copied.
    std::ostream* text_;
    bool ownsText_;
};

// Writes trace entries under a module name and a channel name. All entries
// of the process go to one sink.
class QXTracer {
public:
    QXTracer(const char* module, const char* name);

    TraceFormatter operator()(TraceType type) const { return TraceFormatter(*this, type); }
    // A printf-style entry without a trace type.
    void operator()(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    const std::string& GetModule() const { return module_; }
    const std::string& GetName() const { return name_; }

private:
    friend class TraceFormatter;
    // type is -1 for an entry without a trace type.
    void Write(int type, std::string text) const;

    std::string module_;
    std::string name_;
};

}  // namespace dp
