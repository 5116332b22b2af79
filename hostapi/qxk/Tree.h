#pragma once

#include <vector>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/BaseTree.h"

namespace qxk {

class Instance;

// The world's tree of product-structure instances.
class Tree : public BaseTree {
public:
    // The instance with that idpath, or null.
    du::SmartPtr<Instance> FindInstance(const du::Symbol& idPath) const;
    void GetRoots(std::vector<du::SmartPtr<Instance>>& roots) const;

protected:
    Tree() = default;
    ~Tree() override = default;
};

}  // namespace qxk
