#include "devhost/world/ShapeTable.h"

#include "devhost/world/SceneModel.h"

namespace devhost {

ShapeTable::ShapeTable() = default;
ShapeTable::~ShapeTable() = default;

void ShapeTable::Add(const qxk::Instance* instance, du::SmartPtr<ShapeInstanceImpl> shape) {
    const std::uint32_t slot = Node(*instance).slot;
    if (slot >= places_.size()) places_.resize(slot + 1, 0);
    entries_.emplace_back(instance, std::move(shape));
    places_[slot] = static_cast<std::uint32_t>(entries_.size());
}

bool ShapeTable::Remove(const qxk::Instance* instance) {
    const std::uint32_t slot = Node(*instance).slot;
    if (slot >= places_.size() || places_[slot] == 0) return false;
    const std::uint32_t place = places_[slot];
    places_[slot] = 0;
    if (place != entries_.size()) {
        Entry& last = entries_.back();
        places_[Node(*last.first).slot] = place;
        entries_[place - 1] = std::move(last);
    }
    entries_.pop_back();
    return true;
}

}  // namespace devhost
