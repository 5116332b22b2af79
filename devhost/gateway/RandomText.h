#pragma once

#include <cstddef>
#include <string>

namespace devhost::gateway {

// Hexadecimal text of bytes drawn from the system's random source, for
// secrets and ids that a stranger must not guess.
std::string RandomHex(std::size_t bytes);

}  // namespace devhost::gateway
