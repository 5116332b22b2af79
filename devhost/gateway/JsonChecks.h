#pragma once

#include <cstddef>
#include <string>

#include <rapidjson/document.h>

namespace devhost::gateway {

// Arrays and objects may nest this deep in a request.
constexpr std::size_t kMaxJsonDepth = 64;

// The offset of the bracket that opens a level deeper than most, or npos
// when the text stays within it. Counted in one pass without recursion,
// skipping strings, so that a body of a million "[" costs no stack.
std::size_t DeeperThan(const char* text, std::size_t size, std::size_t most);

// True for UTF-8 text without NUL: no overlong forms, surrogates or code
// points past U+10FFFF.
bool IsCleanUtf8(const char* text, std::size_t size);

// Checks every string of a parsed value, member names included; false with
// what is wrong (never the text itself) for the first that is not clean.
bool AllStringsClean(const rapidjson::Value& value, std::string& why);

}  // namespace devhost::gateway
