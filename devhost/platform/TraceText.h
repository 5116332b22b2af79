#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace devhost {

// The text of one trace entry as the trace sink keeps it. Short texts live
// in a std::string; a text of megabytes (a whole document traced as it
// went out) lives in huge pages of its own (devhost/platform/HugePages.h).
class TraceText {
public:
    TraceText() = default;
    explicit TraceText(std::string text) : small_(std::move(text)) {}
    TraceText(TraceText&& other) noexcept;
    TraceText& operator=(TraceText&& other) noexcept;
    TraceText(const TraceText&) = delete;
    TraceText& operator=(const TraceText&) = delete;
    ~TraceText();

    void Append(const char* text, std::size_t length);
    void Append(char c) { Append(&c, 1); }
    std::string_view View() const { return big_ ? std::string_view(big_, size_) : std::string_view(small_); }
    std::size_t Size() const { return big_ ? size_ : small_.size(); }
    std::string Str() const { return std::string(View()); }

    // From this length on a text moves into mapped pages.
    static constexpr std::size_t kLargeText = std::size_t{1} << 21;

private:
    void Release();

    std::string small_;
    char* big_ = nullptr;  // the mapped pages, once the text is large
    std::size_t size_ = 0, capacity_ = 0;
};

}  // namespace devhost
