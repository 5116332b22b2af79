#pragma once

#include <cstddef>

#include "du/RefCounted.h"
#include "qxg/Entities.h"

namespace qxg {

// The geometry of one shape: a list of bodies. A shape is shared by every
// instance that shows it.
class Shape : public virtual du::RefCounted {
public:
    virtual std::size_t GetBodyCount() const = 0;
    virtual const Body* GetBody(std::size_t index) const = 0;

    // Walks every body in order, down to the leaves.
    void Accept(ShapeVisitor& visitor) const {
        for (std::size_t i = 0; i < GetBodyCount(); ++i) {
            const Body* body = GetBody(i);
            if (body && body->Accept(visitor) == VisitStop) return;
        }
    }

protected:
    Shape() = default;
    ~Shape() override = default;
};

}  // namespace qxg
