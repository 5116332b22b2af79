#pragma once

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/Object.h"

namespace qxk {

class Tree;

// One product structure read into the world.
class Structure : public Object {
public:
    du::Symbol GetName() const;
    void GetTree(du::SmartPtr<Tree>& tree) const;

protected:
    Structure() = default;
    ~Structure() override = default;
};

}  // namespace qxk
