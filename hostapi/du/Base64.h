#pragma once

#include <string>

namespace du {

class Base64 {
public:
    // Standard alphabet, padded with '='.
    static std::string Encode(const char* data, unsigned long long length);
};

}  // namespace du
