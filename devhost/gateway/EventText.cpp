#include "devhost/gateway/EventText.h"

#include <cmath>
#include <cstring>
#include <new>

#include <rapidjson/internal/dtoa.h>
#include <rapidjson/internal/itoa.h>

namespace devhost::gateway {

namespace {

// rapidjson::Writer's escapes: the short ones, 'u' for \u00XX, 0 for none.
constexpr char kEscapes[256] = {
    'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'b', 't', 'n', 'u', 'f', 'r', 'u', 'u',  // 00
    'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u',  // 10
    0,   0,   '"', 0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,    // 20
    0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,    // 30
    0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,    // 40
    0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   '\\', 0,  0,   0,    // 50
};
constexpr char kHex[] = "0123456789ABCDEF";

// The longest escape, and how much of a string is escaped between checks
// of the room left.
constexpr std::size_t kLongestEscape = 6;
constexpr std::size_t kBlock = 16384;

constexpr std::uint64_t kOnes = 0x0101010101010101ull;
constexpr std::uint64_t kHighs = 0x8080808080808080ull;

// True when one of the eight bytes needs an escape: below 0x20, '"' or
// '\\'. Bytes of 0x80 and above are never escaped, so their high bit is
// masked out of every test.
inline bool AnyEscape(std::uint64_t word) {
    const std::uint64_t low = ~word & kHighs;
    const std::uint64_t below = (word - kOnes * 0x20) & low;
    const std::uint64_t quote = word ^ (kOnes * '"');
    const std::uint64_t backslash = word ^ (kOnes * '\\');
    return (below | ((quote - kOnes) & ~quote & kHighs) | ((backslash - kOnes) & ~backslash & kHighs)) != 0;
}

// Escapes length bytes of text into out, which has room for
// kLongestEscape times as many; returns the end of what was written.
char* Escape(const char* text, std::size_t length, char* out) {
    const char* const end = text + length;
    while (text < end) {
        // Clean stretches of a name go eight bytes at a time.
        while (end - text >= 8) {
            std::uint64_t word;
            std::memcpy(&word, text, 8);
            if (AnyEscape(word)) break;
            std::memcpy(out, text, 8);
            text += 8;
            out += 8;
        }
        const char* const stop = end - text >= 8 ? text + 8 : end;
        for (; text < stop; ++text) {
            const auto byte = static_cast<unsigned char>(*text);
            const char escape = kEscapes[byte];
            if (escape == 0) {
                *out++ = static_cast<char>(byte);
                continue;
            }
            *out++ = '\\';
            *out++ = escape;
            if (escape == 'u') {
                *out++ = '0';
                *out++ = '0';
                *out++ = kHex[byte >> 4];
                *out++ = kHex[byte & 0xF];
            }
        }
    }
    return out;
}

}  // namespace

char* EventTextWriter::Reserve(std::size_t more) {
    if (capacity_ - size_ < more) {
        std::size_t capacity = capacity_ < 256 ? 256 : capacity_;
        while (capacity - size_ < more) capacity += capacity / 2;
        char* grown = static_cast<char*>(std::realloc(bytes_, capacity));
        if (!grown) throw std::bad_alloc();
        bytes_ = grown;
        capacity_ = capacity;
    }
    return bytes_ + size_;
}

void EventTextWriter::Raw(std::string_view text) {
    std::memcpy(Reserve(text.size()), text.data(), text.size());
    size_ += text.size();
}

void EventTextWriter::RawUint64(std::uint64_t value) {
    char* at = Reserve(20);
    size_ += static_cast<std::size_t>(rapidjson::internal::u64toa(value, at) - at);
}

void EventTextWriter::Separate() {
    if (levels_.empty()) return;
    Level& level = levels_.back();
    if (level.values > 0) Raw(level.object && level.values % 2 == 1 ? ":" : ",");
    ++level.values;
}

bool EventTextWriter::Null() {
    Separate();
    Raw("null");
    return true;
}

bool EventTextWriter::Bool(bool value) {
    Separate();
    Raw(value ? "true" : "false");
    return true;
}

bool EventTextWriter::Int(int value) {
    Separate();
    char* at = Reserve(11);
    size_ += static_cast<std::size_t>(rapidjson::internal::i32toa(value, at) - at);
    return true;
}

bool EventTextWriter::Uint(unsigned value) {
    Separate();
    char* at = Reserve(10);
    size_ += static_cast<std::size_t>(rapidjson::internal::u32toa(value, at) - at);
    return true;
}

bool EventTextWriter::Int64(std::int64_t value) {
    Separate();
    char* at = Reserve(20);
    size_ += static_cast<std::size_t>(rapidjson::internal::i64toa(value, at) - at);
    return true;
}

bool EventTextWriter::Uint64(std::uint64_t value) {
    Separate();
    RawUint64(value);
    return true;
}

bool EventTextWriter::Double(double value) {
    if (!std::isfinite(value)) return Null();
    Separate();
    char* at = Reserve(25);
    size_ += static_cast<std::size_t>(rapidjson::internal::dtoa(value, at) - at);
    return true;
}

bool EventTextWriter::String(const char* text, std::size_t length, bool) {
    Separate();
    Raw("\"");
    for (std::size_t done = 0; done < length;) {
        const std::size_t block = length - done < kBlock ? length - done : kBlock;
        char* at = Reserve(block * kLongestEscape);
        size_ += static_cast<std::size_t>(Escape(text + done, block, at) - at);
        done += block;
    }
    Raw("\"");
    return true;
}

bool EventTextWriter::StartObject() {
    Separate();
    Raw("{");
    levels_.push_back({true, 0});
    return true;
}

bool EventTextWriter::StartArray() {
    Separate();
    Raw("[");
    levels_.push_back({false, 0});
    return true;
}

void EventTextWriter::Close(char bracket) {
    if (!levels_.empty()) levels_.pop_back();
    Raw(std::string_view(&bracket, 1));
}

bool EventTextWriter::EndObject(std::size_t) {
    Close('}');
    return true;
}

bool EventTextWriter::EndArray(std::size_t) {
    Close(']');
    return true;
}

std::shared_ptr<const EventText> EventTextWriter::Finish(std::size_t counted) {
    // What was reserved past the end is given back; shrinking a large block
    // in place costs nothing.
    char* bytes = size_ > 0 ? static_cast<char*>(std::realloc(bytes_, size_)) : bytes_;
    if (!bytes) bytes = bytes_;
    auto text = std::make_shared<const EventText>(bytes, size_, counted);
    bytes_ = nullptr;
    size_ = capacity_ = 0;
    levels_.clear();
    return text;
}

std::shared_ptr<const EventText> WriteCallbackEvent(unsigned long long seq, std::string_view interface,
                                                    std::string_view method, std::string_view signature,
                                                    const std::function<void(EventTextWriter&)>& arguments) {
    const auto key = [](EventTextWriter& writer, std::string_view name) { writer.Key(name.data(), name.size()); };
    const auto text = [](EventTextWriter& writer, std::string_view value) { writer.String(value.data(), value.size()); };
    EventTextWriter writer;
    writer.Raw("id: ");
    writer.RawUint64(seq);
    writer.Raw("\ndata: ");
    const std::size_t data = writer.Size();
    writer.StartObject();
    key(writer, "seq");
    writer.Uint64(seq);
    key(writer, "interface");
    text(writer, interface);
    key(writer, "method");
    text(writer, method);
    key(writer, "signature");
    text(writer, signature);
    key(writer, "args");
    arguments(writer);
    writer.EndObject();
    const std::size_t counted = writer.Size() - data;
    writer.Raw("\n\n");
    return writer.Finish(counted);
}

}  // namespace devhost::gateway
