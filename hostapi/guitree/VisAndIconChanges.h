#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace qxk {
class BaseInstance;
}

namespace guitree {

// Changed visibility and type icons of tree nodes: a hashed map from
// instance to packed value, walked in the order the entries were first set.
// The visibility state is in bits 4 to 7, the type icon in bits 0 to 3.
//
// The hash index is open-addressed (linear probing over positions in the
// element list): a change of a whole branch sets one entry per instance,
// and a node allocated per entry cost more than the rest of the set.
class VisAndIconChanges {
public:
    using Element = std::pair<qxk::BaseInstance*, int>;
    using const_iterator = std::vector<Element>::const_iterator;

    // Type icons.
    enum TypeIcon { TI_Part = 1, TI_Assembly = 2, TI_Proxy = 3 };

    static int Pack(int visibilityState, int typeIcon) { return (visibilityState & 0xf) << 4 | (typeIcon & 0xf); }

    // Sets the value of an instance; a new instance goes at the end.
    void Set(qxk::BaseInstance* instance, int packed) {
        if ((elements_.size() + 1) * 2 > slots_.size()) Rehash((elements_.size() + 1) * 2);
        std::size_t slot = SlotOf(instance);
        if (slots_[slot] != kEmpty) {
            elements_[slots_[slot]].second = packed;
            return;
        }
        slots_[slot] = static_cast<std::uint32_t>(elements_.size());
        elements_.emplace_back(instance, packed);
    }
    // The packed value of an instance, or -1.
    int Find(qxk::BaseInstance* instance) const {
        if (slots_.empty()) return -1;
        const std::uint32_t at = slots_[SlotOf(instance)];
        return at == kEmpty ? -1 : elements_[at].second;
    }

    const_iterator begin() const { return elements_.begin(); }
    const_iterator end() const { return elements_.end(); }
    std::size_t size() const { return elements_.size(); }
    bool empty() const { return elements_.empty(); }

private:
    static constexpr std::uint32_t kEmpty = 0xffffffffu;

    // The slot that holds the instance, or the empty one where it would go.
    std::size_t SlotOf(const qxk::BaseInstance* instance) const {
        const std::size_t mask = slots_.size() - 1;
        // Fibonacci hashing: the product's high bits mix all of the pointer's.
        std::size_t slot = static_cast<std::size_t>(
            (static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(instance)) * 0x9E3779B97F4A7C15ull) >> shift_);
        while (slots_[slot] != kEmpty && elements_[slots_[slot]].first != instance) slot = (slot + 1) & mask;
        return slot;
    }
    // Makes the index a power of two of at least count slots.
    void Rehash(std::size_t count) {
        std::size_t size = 16;
        shift_ = 60;
        while (size < count) {
            size *= 2;
            --shift_;
        }
        slots_.assign(size, kEmpty);
        for (std::size_t i = 0; i < elements_.size(); ++i)
            slots_[SlotOf(elements_[i].first)] = static_cast<std::uint32_t>(i);
    }

    std::vector<Element> elements_;
    std::vector<std::uint32_t> slots_;  // positions in elements_, kEmpty where free
    unsigned shift_ = 60;               // 64 less the bits of the slot count
};

}  // namespace guitree
