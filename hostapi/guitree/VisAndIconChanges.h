#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qxk {
class BaseInstance;
}

namespace guitree {

// Changed visibility and type icons of tree nodes: a hashed map from
// instance to packed value, walked in the order the entries were first set.
// The visibility state is in bits 4 to 7, the type icon in bits 0 to 3.
class VisAndIconChanges {
public:
    using Element = std::pair<qxk::BaseInstance*, int>;
    using const_iterator = std::vector<Element>::const_iterator;

    // Type icons.
    enum TypeIcon { TI_Part = 1, TI_Assembly = 2, TI_Proxy = 3 };

    static int Pack(int visibilityState, int typeIcon) { return (visibilityState & 0xf) << 4 | (typeIcon & 0xf); }

    // Sets the value of an instance; a new instance goes at the end.
    void Set(qxk::BaseInstance* instance, int packed) {
        auto found = index_.find(instance);
        if (found != index_.end()) {
            elements_[found->second].second = packed;
            return;
        }
        index_.emplace(instance, elements_.size());
        elements_.emplace_back(instance, packed);
    }
    // The packed value of an instance, or -1.
    int Find(qxk::BaseInstance* instance) const {
        auto found = index_.find(instance);
        return found == index_.end() ? -1 : elements_[found->second].second;
    }

    const_iterator begin() const { return elements_.begin(); }
    const_iterator end() const { return elements_.end(); }
    std::size_t size() const { return elements_.size(); }
    bool empty() const { return elements_.empty(); }

private:
    std::vector<Element> elements_;
    std::unordered_map<qxk::BaseInstance*, std::size_t> index_;
};

}  // namespace guitree
