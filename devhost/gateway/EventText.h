#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace devhost::gateway {

// The bytes of one event as a stream writes them. They are written once,
// when the callback arrives, and then only shared: by the session's kept
// events and by every stream that sends them, so a tree document of tens of
// megabytes is neither encoded again nor copied per reader.
class EventText {
public:
    EventText(char* bytes, std::size_t size, std::size_t counted) : bytes_(bytes), size_(size), counted_(counted) {}

    std::string_view Bytes() const { return {bytes_.get(), size_}; }
    // What the session's byte bound counts of it: its JSON text alone.
    std::size_t Counted() const { return counted_; }

private:
    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };
    std::unique_ptr<char, Free> bytes_;
    std::size_t size_;
    std::size_t counted_;
};

// Writes JSON into one growing buffer, in the very form of
// rapidjson::Writer (no spaces, its escapes, its numbers), with the same
// handler calls, so the same code drives it and a RapidJSON DOM. Strings
// are escaped in one pass straight into the buffer. The buffer grows with
// realloc, which moves a large one by remapping its pages, not copying.
class EventTextWriter {
public:
    using Ch = char;

    EventTextWriter() = default;
    ~EventTextWriter() { std::free(bytes_); }
    EventTextWriter(const EventTextWriter&) = delete;
    EventTextWriter& operator=(const EventTextWriter&) = delete;

    // Text outside JSON (the stream's own lines), as it is.
    void Raw(std::string_view text);
    void RawUint64(std::uint64_t value);
    std::size_t Size() const { return size_; }

    bool Null();
    bool Bool(bool value);
    bool Int(int value);
    bool Uint(unsigned value);
    bool Int64(std::int64_t value);
    bool Uint64(std::uint64_t value);
    // A number that is not finite has no JSON form: it is written as null.
    bool Double(double value);
    bool String(const char* text, std::size_t length, bool copy = false);
    bool Key(const char* text, std::size_t length, bool copy = false) { return String(text, length, copy); }
    bool StartObject();
    bool EndObject(std::size_t members = 0);
    bool StartArray();
    bool EndArray(std::size_t elements = 0);

    // Hands the bytes over, counted bytes of them JSON; the writer is empty
    // afterwards.
    std::shared_ptr<const EventText> Finish(std::size_t counted);

private:
    // Room for more bytes at the end.
    char* Reserve(std::size_t more);
    // The separator that a value at the current level needs before it.
    void Separate();
    void Close(char bracket);

    char* bytes_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    // Per open array or object: the values (keys and values, in an object)
    // written in it so far.
    struct Level {
        bool object;
        std::size_t values;
    };
    std::vector<Level> levels_;
};

// A callback's event as a stream sends it: its id line, then one data line
// {"seq", "interface", "method", "signature", "args"}, whose arguments the
// caller writes; the byte bound counts the data line's JSON alone.
std::shared_ptr<const EventText> WriteCallbackEvent(unsigned long long seq, std::string_view interface,
                                                    std::string_view method, std::string_view signature,
                                                    const std::function<void(EventTextWriter&)>& arguments);

}  // namespace devhost::gateway
