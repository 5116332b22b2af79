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

// The instance's content: what was set on it, else what its world names
// for its idpath, else the defaults.
InstanceContent GetInstanceContent(const qxk::Instance& instance);
// Sets an instance's own content, as builders of large worlds do.
void SetInstanceContent(qxk::Instance& instance, const InstanceContent& content);

}  // namespace devhost
