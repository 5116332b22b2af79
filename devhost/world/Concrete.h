#pragma once

#include <utility>

namespace devhost {

// Makes a host class whose constructor is protected, as the host library
// itself would.
template <class Base>
class Concrete final : public Base {
public:
    template <class... Args>
    explicit Concrete(Args&&... args) : Base(std::forward<Args>(args)...) {}
};

}  // namespace devhost
