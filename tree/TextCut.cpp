#include "tree/TextCut.h"

std::string CutBetween(const std::string& text, std::size_t start, std::size_t end) {
    const std::size_t from = start + 1;
    if (from > text.size()) return std::string();
    return text.substr(from, end - start - 1);
}
