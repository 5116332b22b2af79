#pragma once

#include <cstdint>

namespace webapi {

// The remainder by a divisor fixed in advance, from the fraction part of the
// value times the divisor's reciprocal in 128-bit fixed point (Lemire, Kaser
// and Kurz, "Faster remainder by direct computation"): two multiplications
// where a 64-bit division costs tens of cycles, exact for every 64-bit value
// and divisor.
class Remainder {
public:
    explicit Remainder(std::uint64_t divisor = 1)
        : divisor_(divisor), reciprocal_(~static_cast<unsigned __int128>(0) / divisor + 1) {}

    std::uint64_t Of(std::uint64_t value) const {
        const unsigned __int128 fraction = reciprocal_ * value;
        const unsigned __int128 low = static_cast<unsigned __int128>(static_cast<std::uint64_t>(fraction)) * divisor_;
        const unsigned __int128 high = static_cast<unsigned __int128>(static_cast<std::uint64_t>(fraction >> 64)) * divisor_;
        return static_cast<std::uint64_t>((high + (low >> 64)) >> 64);
    }

private:
    std::uint64_t divisor_;
    unsigned __int128 reciprocal_;
};

}  // namespace webapi
