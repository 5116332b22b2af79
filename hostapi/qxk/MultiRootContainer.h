#pragma once

#include <vector>

#include "du/SmartPtr.h"
#include "qxk/Object.h"

namespace qxk {

class Structure;

// The structures of the world; the first one is the primary one.
class MultiRootContainer : public Object {
public:
    // False, with structure null, when the world has no structure.
    bool GetPrimaryStructure(du::SmartPtr<Structure>& structure) const;
    void GetStructures(std::vector<du::SmartPtr<Structure>>& structures) const;

protected:
    MultiRootContainer() = default;
    ~MultiRootContainer() override = default;
};

}  // namespace qxk
