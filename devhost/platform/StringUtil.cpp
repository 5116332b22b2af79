#include "du/StringUtil.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace du {

void StringSplit(const std::string& text, std::vector<std::string>& tokens, const char* separator) {
    const std::size_t width = separator ? std::strlen(separator) : 0;
    if (width == 0) {
        if (!text.empty()) tokens.push_back(text);
        return;
    }
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(separator, start);
        if (end == std::string::npos) end = text.size();
        if (end > start) tokens.push_back(text.substr(start, end - start));
        start = end + width;
    }
}

namespace {

// The host's hash table sizes: primes that roughly double, each far from a
// power of two.
const unsigned long kPrimes[] = {
    53ul,        97ul,        193ul,       389ul,       769ul,        1543ul,       3079ul,
    6151ul,      12289ul,     24593ul,     49157ul,     98317ul,      196613ul,     393241ul,
    786433ul,    1572869ul,   3145739ul,   6291469ul,   12582917ul,   25165843ul,   50331653ul,
    100663319ul, 201326611ul, 402653189ul, 805306457ul, 1610612741ul, 3221225473ul, 4294967291ul};

}  // namespace

unsigned long HashNextPrime(unsigned long n) {
    const unsigned long* at = std::lower_bound(std::begin(kPrimes), std::end(kPrimes), n);
    // Beyond the table the largest size has to do.
    return at == std::end(kPrimes) ? kPrimes[std::size(kPrimes) - 1] : *at;
}

}  // namespace du
