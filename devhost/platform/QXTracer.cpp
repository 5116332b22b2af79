#include "dp/QXTracer.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

#include "devhost/platform/TraceLog.h"

namespace dp {

TraceFormatter::TraceFormatter(const QXTracer& tracer, TraceType type) : tracer_(tracer), type_(type) {}

TraceFormatter::~TraceFormatter() { tracer_.Write(type_, text_.str()); }

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
