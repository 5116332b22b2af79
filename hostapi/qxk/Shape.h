#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxg {
class Object;
class Shape;
}  // namespace qxg

namespace qxk {

// A shape of the world as the kernel holds it; shape instances of several
// instances can share one.
class Shape : public virtual du::RefCounted {
public:
    virtual void GetShapeData(du::SmartPtr<qxg::Shape>& data) const = 0;
    // The geometry object with that id, or null.
    virtual qxg::Object* GetObject(const du::Symbol& id) const = 0;

protected:
    Shape() = default;
    ~Shape() override = default;
};

}  // namespace qxk
