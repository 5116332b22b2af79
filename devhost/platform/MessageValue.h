#pragma once

#include <cstdint>
#include <variant>

#include "du/Symbol.h"

namespace devhost {

// A reference to a managed object as it travels in a message: the object's
// id (0 for the null handle), one of its method tables, and the host that
// the object belongs to.
struct HandleValue {
    unsigned long long object = 0;
    short table = 0;
    unsigned int host = 0;
};

// One typed value of a message. A string keeps its null-ness: a null
// du::Symbol stays null across the trip.
using MessageValue = std::variant<du::Symbol, double, std::int32_t, std::uint32_t, bool, HandleValue>;

}  // namespace devhost
