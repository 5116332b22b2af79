#pragma once

#include <cstdint>
#include <unordered_map>

#include "du/RefCounted.h"

namespace qxk {

// Maps instance ids of one reading of a branch to those of another.
class IdMap : public virtual du::RefCounted {
public:
    void Add(std::uint64_t from, std::uint64_t to) { map_[from] = to; }
    bool Find(std::uint64_t from, std::uint64_t& to) const {
        auto it = map_.find(from);
        if (it == map_.end()) return false;
        to = it->second;
        return true;
    }

private:
    std::unordered_map<std::uint64_t, std::uint64_t> map_;
};

}  // namespace qxk
