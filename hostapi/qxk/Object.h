#pragma once

#include "du/RefCounted.h"
#include "qxk/ClassType.h"

namespace qxk {

// Base of the kernel's counted objects, with their run-time class.
class Object : public virtual du::RefCounted {
public:
    static constexpr ClassType CLASS_TYPE{0x01};

    // True when the object is of that class or derives from it.
    bool IsATypeOf(const ClassType& type) const { return IsOfClass(type.GetNumber()); }

protected:
    Object() = default;
    ~Object() override = default;

    // Each class answers for its own number and asks its base for the rest.
    virtual bool IsOfClass(unsigned int number) const { return number == CLASS_TYPE.GetNumber(); }
};

}  // namespace qxk
