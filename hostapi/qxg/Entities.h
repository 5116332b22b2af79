#pragma once

#include <cstddef>

#include "qxg/Object.h"
#include "qxg/ShapeVisitor.h"

namespace qxg {

// Geometry that holds further geometry: the walk descends through these.
class Container : public Object {
public:
    virtual std::size_t GetChildCount() const = 0;
    virtual const Object* GetChild(std::size_t index) const = 0;
};

class Body : public Container {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitBody(*this); }
};

class Region : public Container {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitRegion(*this); }
};

class Shell : public Container {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitShell(*this); }
};

// A model annotation carried in the geometry (a dimension, a note, a datum).
class Markup : public Object {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitMarkup(*this); }
};

class Face : public Object {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitFace(*this); }
};

class Edge : public Object {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitEdge(*this); }
};

class Vertex : public Object {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitVertex(*this); }
};

class Wire : public Object {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitWire(*this); }
};

class Mesh : public Object {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitMesh(*this); }
};

class PointSet : public Object {
public:
    VisitState Accept(ShapeVisitor& visitor) const override { return visitor.VisitPointSet(*this); }
};

// Walks the children in order; a VisitStop from any of them ends the walk.
inline VisitState ShapeVisitor::VisitChildren(const Container& container) {
    for (std::size_t i = 0; i < container.GetChildCount(); ++i) {
        const Object* child = container.GetChild(i);
        if (child && child->Accept(*this) == VisitStop) return VisitStop;
    }
    return VisitContinue;
}

inline VisitState ShapeVisitor::VisitBody(const Body& body) { return VisitChildren(body); }
inline VisitState ShapeVisitor::VisitRegion(const Region& region) { return VisitChildren(region); }
inline VisitState ShapeVisitor::VisitShell(const Shell& shell) { return VisitChildren(shell); }

}  // namespace qxg
