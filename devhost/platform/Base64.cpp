#include "du/Base64.h"

namespace du {

std::string Base64::Encode(const char* data, unsigned long long length) {
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    if (!data) return out;
    out.reserve(static_cast<std::size_t>((length + 2) / 3 * 4));
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(data);
    unsigned long long i = 0;
    for (; i + 3 <= length; i += 3) {
        unsigned long group = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
        out += kAlphabet[(group >> 18) & 63];
        out += kAlphabet[(group >> 12) & 63];
        out += kAlphabet[(group >> 6) & 63];
        out += kAlphabet[group & 63];
    }
    if (i < length) {
        const bool two = i + 1 < length;
        unsigned long group = (bytes[i] << 16) | (two ? bytes[i + 1] << 8 : 0);
        out += kAlphabet[(group >> 18) & 63];
        out += kAlphabet[(group >> 12) & 63];
        out += two ? kAlphabet[(group >> 6) & 63] : '=';
        out += '=';
    }
    return out;
}

}  // namespace du
