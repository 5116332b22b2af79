#include "devhost/platform/TraceText.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace devhost {

namespace {

constexpr std::size_t kHugePage = std::size_t{1} << 21;

std::size_t RoundUp(std::size_t length) { return (length + kHugePage - 1) & ~(kHugePage - 1); }

// Pages at a huge-page boundary, the kernel asked to back them with huge
// pages: a mapping of twice the alignment is cut down to the aligned part.
char* MapPages(std::size_t length) {
    void* mapped = ::mmap(nullptr, length + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::bad_alloc();
    const auto start = reinterpret_cast<std::uintptr_t>(mapped);
    const std::uintptr_t aligned = (start + kHugePage - 1) & ~(kHugePage - 1);
    if (aligned > start) ::munmap(mapped, aligned - start);
    const std::size_t tail = start + length + kHugePage - (aligned + length);
    if (tail) ::munmap(reinterpret_cast<void*>(aligned + length), tail);
    ::madvise(reinterpret_cast<void*>(aligned), length, MADV_HUGEPAGE);
    return reinterpret_cast<char*>(aligned);
}

}  // namespace

TraceText::TraceText(TraceText&& other) noexcept
    : small_(std::move(other.small_)), big_(other.big_), size_(other.size_), capacity_(other.capacity_) {
    other.small_.clear();
    other.big_ = nullptr;
    other.size_ = other.capacity_ = 0;
}

TraceText& TraceText::operator=(TraceText&& other) noexcept {
    if (this != &other) {
        Release();
        small_ = std::move(other.small_);
        other.small_.clear();
        std::swap(big_, other.big_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }
    return *this;
}

TraceText::~TraceText() { Release(); }

void TraceText::Release() {
    if (big_) ::munmap(big_, capacity_);
    big_ = nullptr;
    size_ = capacity_ = 0;
}

void TraceText::Append(const char* text, std::size_t length) {
    if (!big_ && small_.size() + length < kLargeText) {
        small_.append(text, length);
        return;
    }
    const std::size_t wanted = Size() + length;
    if (wanted > capacity_) {
        const std::size_t capacity = RoundUp(wanted > 2 * capacity_ ? wanted : 2 * capacity_);
        char* grown = MapPages(capacity);
        const std::string_view kept = View();
        std::memcpy(grown, kept.data(), kept.size());
        const std::size_t keptSize = kept.size();
        std::string().swap(small_);
        Release();
        big_ = grown;
        size_ = keptSize;
        capacity_ = capacity;
    }
    std::memcpy(big_ + size_, text, length);
    size_ += length;
}

}  // namespace devhost
