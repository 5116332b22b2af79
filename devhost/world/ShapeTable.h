#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "devhost/world/InstanceNode.h"
#include "du/SmartPtr.h"
#include "qxk/Instance.h"

namespace devhost {

class ShapeInstanceImpl;

// The shape instances of a scene by instance, as a viewer's scene keeps
// them: one dense array of entries, and for every instance slot the place of
// its entry, so that a look-up is two array reads and no hash. An entry that
// goes is replaced by the last one. Guarded by the world lock.
class ShapeTable {
public:
    using Entry = std::pair<const qxk::Instance*, du::SmartPtr<ShapeInstanceImpl>>;
    using const_iterator = std::vector<Entry>::const_iterator;

    ShapeTable();
    ~ShapeTable();
    ShapeTable(const ShapeTable&) = delete;
    ShapeTable& operator=(const ShapeTable&) = delete;

    // The instance's shape instance, or null (also for no instance).
    ShapeInstanceImpl* Find(const qxk::Instance* instance) const {
        if (!instance) return nullptr;
        const std::uint32_t slot = Node(*instance).slot;
        return slot < places_.size() && places_[slot] != 0 ? entries_[places_[slot] - 1].second.get() : nullptr;
    }
    // For an instance that has no shape instance here yet.
    void Add(const qxk::Instance* instance, du::SmartPtr<ShapeInstanceImpl> shape);
    // False when the instance had none.
    bool Remove(const qxk::Instance* instance);

    std::size_t size() const { return entries_.size(); }
    const_iterator begin() const { return entries_.begin(); }
    const_iterator end() const { return entries_.end(); }

private:
    std::vector<Entry> entries_;
    std::vector<std::uint32_t> places_;  // by slot: the entry's index plus 1, 0 for none
};

}  // namespace devhost
