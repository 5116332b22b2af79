#pragma once

#include "qxk/Object.h"

namespace qxk {

class BaseInstanceVisitor;

// A tree of instances.
class BaseTree : public Object {
public:
    enum VisitType {
        VT_DepthFirst = 0,   // each root with its branch, in order
        VT_BreadthFirst = 1  // level by level over all roots
    };

    void GetNumInstances(unsigned int& count) const;
    // Walks every instance; the roots are at level 0. The visitor runs with no
    // lock of the world held.
    void Visit(BaseInstanceVisitor& visitor, VisitType type) const;

protected:
    BaseTree() = default;
    ~BaseTree() override = default;
};

}  // namespace qxk
