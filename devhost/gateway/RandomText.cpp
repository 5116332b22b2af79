#include "devhost/gateway/RandomText.h"

#include <random>

namespace devhost::gateway {

std::string RandomHex(std::size_t bytes) {
    // random_device reads the kernel's generator on Linux; one instance a
    // thread avoids reopening it for every session.
    thread_local std::random_device source;
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes * 2);
    while (text.size() < bytes * 2) {
        unsigned int word = source();
        for (int i = 0; i < 8 && text.size() < bytes * 2; ++i, word >>= 4) text += kDigits[word & 15u];
    }
    return text;
}

}  // namespace devhost::gateway
