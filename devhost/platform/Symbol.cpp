#include "du/Symbol.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <iterator>
#include <new>
#include <ostream>
#include <string_view>

#include "devhost/platform/HugePages.h"
#include "devhost/platform/TextSlabs.h"

namespace du {

// One shared, immutable text with its own count; copies of a Symbol share it.
struct Symbol::Rep {
    std::atomic<int> refs;
    std::size_t length;

    // The text follows the header in the same block.
    char* text() noexcept { return reinterpret_cast<char*>(this + 1); }

    // A text of megabytes goes into huge pages of its own, one of tens of
    // kilobytes into shared ones: a document's text is made into a Symbol
    // as it goes out, and fresh small pages cost more than its copy.
    static std::size_t Block(std::size_t length) { return sizeof(Rep) + length + 1; }
    static bool Large(std::size_t length) { return Block(length) >= devhost::kHugePage; }

    static Rep* Make(const char* text, std::size_t length) {
        const std::size_t block = Block(length);
        void* memory;
        if (Large(length))
            memory = devhost::MapHugePages(block);
        else if (devhost::TextSlabs::Serves(block))
            memory = devhost::TextSlabs::Allocate(block);
        else
            memory = std::malloc(block);
        if (!memory) throw std::bad_alloc();
        Rep* rep = ::new (memory) Rep;
        rep->refs.store(1, std::memory_order_relaxed);
        rep->length = length;
        if (length) std::memcpy(rep->text(), text, length);
        rep->text()[length] = '\0';
        return rep;
    }
    static void Acquire(Rep* rep) noexcept {
        if (rep) rep->refs.fetch_add(1, std::memory_order_relaxed);
    }
    static void Release(Rep* rep) noexcept {
        if (rep && rep->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            const std::size_t length = rep->length;
            rep->~Rep();
            if (Large(length))
                devhost::UnmapHugePages(reinterpret_cast<char*>(rep), Block(length));
            else if (devhost::TextSlabs::Serves(Block(length)))
                devhost::TextSlabs::Free(rep);
            else
                std::free(rep);
        }
    }
};

const Symbol Symbol::EMPTY("");

Symbol::Symbol(const char* text) : rep_(text ? Rep::Make(text, std::strlen(text)) : nullptr) {}

Symbol::Symbol(const char* text, std::size_t length) : rep_(text ? Rep::Make(text, length) : nullptr) {}

Symbol::Symbol(const std::string& text) : rep_(Rep::Make(text.data(), text.size())) {}

Symbol::Symbol(const Symbol& other) noexcept : rep_(other.rep_) { Rep::Acquire(rep_); }

Symbol& Symbol::operator=(const Symbol& other) noexcept {
    Rep::Acquire(other.rep_);
    Rep::Release(rep_);
    rep_ = other.rep_;
    return *this;
}

Symbol& Symbol::operator=(Symbol&& other) noexcept {
    if (this != &other) {
        Rep::Release(rep_);
        rep_ = other.rep_;
        other.rep_ = nullptr;
    }
    return *this;
}

Symbol::~Symbol() { Rep::Release(rep_); }

bool Symbol::empty() const noexcept { return !rep_ || rep_->length == 0; }

std::size_t Symbol::length() const noexcept { return rep_ ? rep_->length : 0; }

const char* Symbol::safe_c_str() const noexcept { return rep_ ? rep_->text() : ""; }

const char* Symbol::c_str() const noexcept { return rep_ ? rep_->text() : nullptr; }

std::string Symbol::str() const { return std::string(safe_c_str(), length()); }

long long Symbol::find(const char* text, unsigned long long from) const {
    if (!text) return -1;
    std::string::size_type at = std::string_view(safe_c_str(), length()).find(text, from);
    return at == std::string_view::npos ? -1 : static_cast<long long>(at);
}

long long Symbol::rfind(const char* text) const {
    if (!text) return -1;
    std::string::size_type at = std::string_view(safe_c_str(), length()).rfind(text);
    return at == std::string_view::npos ? -1 : static_cast<long long>(at);
}

void Symbol::Print(std::ostream& out) const { out.write(safe_c_str(), static_cast<std::streamsize>(length())); }

void Symbol::Read(std::istream& in) {
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    *this = Symbol(text);
}

int Symbol::compare(const Symbol& other) const noexcept {
    if (rep_ == other.rep_) return 0;
    if (!rep_) return -1;
    if (!other.rep_) return 1;
    return std::string_view(rep_->text(), rep_->length)
        .compare(std::string_view(other.rep_->text(), other.rep_->length));
}

bool operator==(const Symbol& a, const Symbol& b) noexcept {
    if (a.IsNull() || b.IsNull()) return a.IsNull() && b.IsNull();
    return a.length() == b.length() && std::memcmp(a.safe_c_str(), b.safe_c_str(), a.length()) == 0;
}

bool operator==(const Symbol& a, const char* b) noexcept {
    if (a.IsNull() || !b) return a.IsNull() && !b;
    return std::strlen(b) == a.length() && std::memcmp(a.safe_c_str(), b, a.length()) == 0;
}

std::ostream& operator<<(std::ostream& out, const Symbol& symbol) {
    symbol.Print(out);
    return out;
}

}  // namespace du
