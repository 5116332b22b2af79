#include "devhost/platform/TraceText.h"

#include <cstring>
#include <utility>

#include "devhost/platform/HugePages.h"

namespace devhost {

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
    if (big_) UnmapHugePages(big_, capacity_);
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
        const std::size_t capacity = HugePagesLength(wanted > 2 * capacity_ ? wanted : 2 * capacity_);
        char* grown = MapHugePages(capacity);
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
