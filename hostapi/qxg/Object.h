#pragma once

#include "du/RefCounted.h"

namespace qxg {

class ShapeVisitor;

// What a visitor operation tells the walk: go on, skip what lies below the
// object just visited, or end the whole walk.
enum VisitState { VisitContinue = 0, VisitSkipChildren = 1, VisitStop = 2 };

// One piece of a shape's geometry. Every object has an id, unique within its
// shape, and takes part in the visitor walk by kind.
class Object : public virtual du::RefCounted {
public:
    virtual const char* GetId() const = 0;
    virtual VisitState Accept(ShapeVisitor& visitor) const = 0;

protected:
    Object() = default;
    ~Object() override = default;
};

}  // namespace qxg
