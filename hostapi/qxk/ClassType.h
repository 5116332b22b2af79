#pragma once

namespace qxk {

// The run-time class of a kernel object, by number.
class ClassType {
public:
    constexpr explicit ClassType(unsigned int number) noexcept : number_(number) {}
    constexpr unsigned int GetNumber() const noexcept { return number_; }
    constexpr bool operator==(const ClassType& other) const noexcept { return number_ == other.number_; }
    constexpr bool operator!=(const ClassType& other) const noexcept { return number_ != other.number_; }

private:
    unsigned int number_;
};

}  // namespace qxk
