#include "devhost/gateway/JsonChecks.h"

#include <vector>

namespace devhost::gateway {

std::size_t DeeperThan(const char* text, std::size_t size, std::size_t most) {
    std::size_t depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < size; ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > most) return i;
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return std::string::npos;
}

bool IsCleanUtf8(const char* text, std::size_t size) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    for (std::size_t i = 0; i < size;) {
        const unsigned char lead = bytes[i];
        if (lead == 0) return false;
        if (lead < 0x80) {
            ++i;
            continue;
        }
        std::size_t length = 0;
        std::uint32_t point = 0, least = 0;
        if ((lead & 0xE0) == 0xC0) {
            length = 2, point = lead & 0x1F, least = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3, point = lead & 0x0F, least = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4, point = lead & 0x07, least = 0x10000;
        } else {
            return false;
        }
        if (size - i < length) return false;
        for (std::size_t k = 1; k < length; ++k) {
            if ((bytes[i + k] & 0xC0) != 0x80) return false;
            point = (point << 6) | (bytes[i + k] & 0x3F);
        }
        if (point < least || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return false;
        i += length;
    }
    return true;
}

bool AllStringsClean(const rapidjson::Value& value, std::string& why) {
    // The nesting is bounded before parsing; a list rather than recursion
    // keeps this independent of that bound all the same.
    std::vector<const rapidjson::Value*> pending{&value};
    auto clean = [&why](const rapidjson::Value& text, const char* what) {
        if (IsCleanUtf8(text.GetString(), text.GetStringLength())) return true;
        why = std::string("a ") + what + " holds a NUL character or is not valid UTF-8";
        return false;
    };
    while (!pending.empty()) {
        const rapidjson::Value& each = *pending.back();
        pending.pop_back();
        if (each.IsString() && !clean(each, "string")) return false;
        if (each.IsArray())
            for (const auto& element : each.GetArray()) pending.push_back(&element);
        if (each.IsObject()) {
            for (const auto& member : each.GetObject()) {
                if (!clean(member.name, "member name")) return false;
                pending.push_back(&member.value);
            }
        }
    }
    return true;
}

}  // namespace devhost::gateway
