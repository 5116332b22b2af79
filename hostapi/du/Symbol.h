#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

namespace du {

// The host's string value and the type of every string on the wire.
// The text is immutable and shared between copies, so copying is cheap.
// A default-built Symbol is the null Symbol; it is distinct from EMPTY,
// the empty text, and that distinction survives a trip through a message.
class Symbol {
public:
    static const Symbol EMPTY;

    Symbol() noexcept : rep_(nullptr) {}
    Symbol(const char* text);  // a null pointer gives the null Symbol
    Symbol(const char* text, std::size_t length);
    Symbol(const std::string& text);
    Symbol(const Symbol& other) noexcept;
    Symbol(Symbol&& other) noexcept : rep_(other.rep_) { other.rep_ = nullptr; }
    Symbol& operator=(const Symbol& other) noexcept;
    Symbol& operator=(Symbol&& other) noexcept;
    ~Symbol();

    bool IsNull() const noexcept { return rep_ == nullptr; }
    // True for the null Symbol and for the empty text.
    bool empty() const noexcept;
    std::size_t length() const noexcept;
    // The text; never null ("" for the null Symbol).
    const char* safe_c_str() const noexcept;
    // The text, or a null pointer for the null Symbol.
    const char* c_str() const noexcept;
    std::string str() const;

    // Position of the first occurrence of text at or after from, or -1.
    long long find(const char* text, unsigned long long from = 0) const;
    // Position of the last occurrence of text, or -1.
    long long rfind(const char* text) const;

    void Print(std::ostream& out) const;
    // Replaces the text with the rest of the stream.
    void Read(std::istream& in);

    // Byte-wise order; the null Symbol sorts before every text.
    int compare(const Symbol& other) const noexcept;

private:
    struct Rep;
    Rep* rep_;
};

// Null equals null only; otherwise texts are compared byte by byte.
bool operator==(const Symbol& a, const Symbol& b) noexcept;
inline bool operator!=(const Symbol& a, const Symbol& b) noexcept { return !(a == b); }
inline bool operator<(const Symbol& a, const Symbol& b) noexcept { return a.compare(b) < 0; }
// A null Symbol equals only a null pointer.
bool operator==(const Symbol& a, const char* b) noexcept;
inline bool operator!=(const Symbol& a, const char* b) noexcept { return !(a == b); }
inline bool operator==(const char* a, const Symbol& b) noexcept { return b == a; }
inline bool operator!=(const char* a, const Symbol& b) noexcept { return !(b == a); }

std::ostream& operator<<(std::ostream& out, const Symbol& symbol);

}  // namespace du
