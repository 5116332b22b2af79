#pragma once

#include "devhost/content/Geometry.h"
#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "qxk/Instance.h"
#include "qxk/Viewables.h"

namespace devhost {

// What an instance has beyond the structure: its component's viewables,
// whether it has an anchor, and its shape. Instances without content have
// an empty component, the world's anchor and no shape.
struct InstanceContent final : du::RefCounted {
    bool hasComponent = true;
    du::SmartPtr<qxk::ComponentNode> component;  // null: the world's empty one
    bool hasAnchor = true;
    du::SmartPtr<Shape> shape;
};

// Gives a copy of the instance's content (defaults when it has none), and
// sets it; both under the world lock.
InstanceContent GetInstanceContent(const qxk::Instance& instance);
void SetInstanceContent(qxk::Instance& instance, const InstanceContent& content);

}  // namespace devhost
