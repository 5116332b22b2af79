#include "dp/QXTracer.h"

#include <cstdarg>
#include <cstdio>
#include <utility>
#include <vector>

#include "devhost/platform/TraceLog.h"

namespace dp {

namespace {

// A stream that writes into a text of its own, so that the finished text
// can be handed to the sink without a copy: an entry may hold a document of
// many megabytes.
class TextStream : public std::ostream {
public:
    TextStream() : std::ostream(nullptr) { rdbuf(&buffer_); }

    // The text so far; the stream is empty afterwards.
    devhost::TraceText Take() { return std::move(buffer_.text); }

private:
    struct Buffer : std::streambuf {
        devhost::TraceText text;

        int_type overflow(int_type ch) override {
            if (traits_type::eq_int_type(ch, traits_type::eof())) return traits_type::not_eof(ch);
            text.Append(traits_type::to_char_type(ch));
            return ch;
        }
        std::streamsize xsputn(const char* s, std::streamsize count) override {
            text.Append(s, static_cast<std::size_t>(count));
            return count;
        }
    };

    Buffer buffer_;
};

// Making a stream costs far more than most entries cost to write, and code
// may trace once per instance of a large tree: each thread keeps one.
struct ThreadStream {
    TextStream text;
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
        text_ = new TextStream();
        return;
    }
    reused.busy = true;
    text_ = &reused.text;
    text_->clear();
    // Back to the default format. Only what an entry can change is set: a
    // full copyfmt costs more than most entries.
    const std::ostringstream& pristine = reused.pristine;
    text_->flags(pristine.flags());
    text_->precision(pristine.precision());
    text_->width(pristine.width());
    text_->fill(pristine.fill());
    if (text_->getloc() != pristine.getloc()) text_->imbue(pristine.getloc());
}

TraceFormatter::~TraceFormatter() {
    auto* text = static_cast<TextStream*>(text_);
    devhost::TraceLog::Append(tracer_.GetModule(), tracer_.GetName(), type_, text->Take());
    if (ownsText_)
        delete text;
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
    Write(-1, std::move(text));
}

void QXTracer::Write(int type, std::string text) const {
    devhost::TraceLog::Append(devhost::TraceEntry{module_, name_, type, std::move(text)});
}

}  // namespace dp
