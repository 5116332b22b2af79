#include "devhost/app/ArgumentText.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "du/StringUtil.h"

namespace devhost::app {

ArgumentCursor::ArgumentCursor(std::string text) : text_(std::move(text)) {}

void ArgumentCursor::SkipBlanks() {
    while (position_ < text_.size() && (text_[position_] == ' ' || text_[position_] == '\t')) ++position_;
}

bool ArgumentCursor::AtEnd() const { return text_.find_first_not_of(" \t", position_) == std::string::npos; }

bool ArgumentCursor::Next(std::string& argument) {
    SkipBlanks();
    if (position_ >= text_.size()) return false;
    if (text_[position_] == '\'') {
        const std::size_t close = text_.find('\'', position_ + 1);
        if (close == std::string::npos) return false;
        argument = text_.substr(position_ + 1, close - position_ - 1);
        position_ = close + 1;
        return true;
    }
    const std::size_t end = text_.find_first_of(" \t", position_);
    argument = text_.substr(position_, end == std::string::npos ? std::string::npos : end - position_);
    position_ = end == std::string::npos ? text_.size() : end;
    return true;
}

bool ArgumentCursor::Rest(std::string& argument) {
    SkipBlanks();
    if (position_ >= text_.size()) return false;
    if (text_[position_] == '\'' && text_.back() == '\'' && text_.size() - position_ >= 2) {
        argument = text_.substr(position_ + 1, text_.size() - position_ - 2);
    } else {
        argument = text_.substr(position_);
    }
    position_ = text_.size();
    return true;
}

bool ArgumentText<const du::Symbol&>::Read(const std::string& text, const CallbackObjects&, du::Symbol& value) {
    value = du::Symbol(text);
    return true;
}

namespace {

// The whole text must be the number.
template <class Number, class Convert>
bool ReadNumber(const std::string& text, Number& value, Convert convert) {
    if (text.empty()) return false;
    char* end = nullptr;
    errno = 0;
    const auto parsed = convert(text.c_str(), &end);
    if (errno != 0 || end == nullptr || *end != '\0') return false;
    value = static_cast<Number>(parsed);
    return static_cast<decltype(parsed)>(value) == parsed;
}

}  // namespace

bool ArgumentText<double>::Read(const std::string& text, const CallbackObjects&, double& value) {
    return ReadNumber(text, value, [](const char* s, char** e) { return std::strtod(s, e); });
}

bool ArgumentText<int>::Read(const std::string& text, const CallbackObjects&, int& value) {
    return ReadNumber(text, value, [](const char* s, char** e) { return std::strtoll(s, e, 0); });
}

bool ArgumentText<unsigned int>::Read(const std::string& text, const CallbackObjects&, unsigned int& value) {
    if (!text.empty() && text[0] == '-') return false;
    return ReadNumber(text, value, [](const char* s, char** e) { return std::strtoull(s, e, 0); });
}

bool ArgumentText<bool>::Read(const std::string& text, const CallbackObjects&, bool& value) {
    if (text == "true" || text == "1") {
        value = true;
    } else if (text == "false" || text == "0") {
        value = false;
    } else {
        return false;
    }
    return true;
}

bool ArgumentText<const std::vector<du::Symbol>&>::Read(const std::string& text, const CallbackObjects&,
                                                        std::vector<du::Symbol>& value) {
    value.clear();
    if (text == "-") return true;
    std::vector<std::string> items;
    du::StringSplit(text, items, ",");
    for (const std::string& item : items) value.emplace_back(item);
    return true;
}

}  // namespace devhost::app
