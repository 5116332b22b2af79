#include "dp/QXTracer.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

#include "devhost/platform/TraceLog.h"

namespace dp {

namespace {

// Making a stream costs far more than most entries cost to write, and code
// may trace once per instance of a large tree: each thread keeps one.
struct ThreadStream {
    std::ostringstream text;
    const std::ostringstream pristine;  // the default format, to reset to
    bool busy = false;
};

ThreadStream& TheThreadStream() {
    static thread_local ThreadStream stream;
    return stream;
}

}  // namespace

TraceFormatter::TraceFormatter(const QXTracer& tracer, TraceType type) : tracer_(tracer), type_(type) {
    ThreadStream& reused = TheThreadStream();
    ownsText_ = reused.busy;
    if (ownsText_) {
        text_ = new std::ostringstream();
        return;
    }
    reused.busy = true;
    text_ = &reused.text;
    text_->str(std::string());
    text_->clear();
    text_->copyfmt(reused.pristine);
}

TraceFormatter::~TraceFormatter() {
    tracer_.Write(type_, text_->str());
    if (ownsText_)
        delete text_;
    else
        TheThreadStream().busy = false;
}

QXTracer::QXTracer(const char* module, const char* name) : module_(module ? module : ""), name_(name ? name : "") {}

void QXTracer::operator()(const char* format, ...) const {
    if (!format) return;
    va_list arguments;
    va_start(arguments, format);
    va_list measuring;
    va_copy(measuring, arguments);
    int length = std::vsnprintf(nullptr, 0, format, measuring);
    va_end(measuring);
    std::string text;
    if (length > 0) {
        std::vector<char> buffer(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
        text.assign(buffer.data(), static_cast<std::size_t>(length));
    }
    va_end(arguments);
    Write(-1, text);
}

void QXTracer::Write(int type, const std::string& text) const {
    devhost::TraceLog::Append(devhost::TraceEntry{module_, name_, type, text});
}

}  // namespace dp
