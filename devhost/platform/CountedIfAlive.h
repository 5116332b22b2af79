#pragma once

#include "du/SmartPtr.h"

namespace devhost {

// A counted pointer to an object held elsewhere through a plain back
// pointer, or null when the object's count is already at zero: it is on its
// way out, and its destructor is about to clear the back pointer.
template <class T>
du::SmartPtr<T> CountedIfAlive(T* object) {
    if (object == nullptr || !object->AddReferenceIfAlive(&object)) return nullptr;
    du::SmartPtr<T> counted(object);
    object->RemoveReference(&object);  // the pointer's own reference remains
    return counted;
}

}  // namespace devhost
