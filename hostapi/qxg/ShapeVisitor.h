#pragma once

#include "qxg/Object.h"

namespace qxg {

class Container;
class Body;
class Region;
class Shell;
class Markup;
class Face;
class Edge;
class Vertex;
class Wire;
class Mesh;
class PointSet;

// Visitor over a shape's geometry. Bodies, regions and shells descend into
// what they hold unless a subclass overrides them; every other kind must be
// handled by the subclass. The bodies of the inline operations stand in
// qxg/Entities.h.
class ShapeVisitor {
public:
    virtual ~ShapeVisitor() = default;

    virtual VisitState VisitBody(const Body& body);
    virtual VisitState VisitRegion(const Region& region);
    virtual VisitState VisitShell(const Shell& shell);
    virtual VisitState VisitMarkup(const Markup& markup) = 0;
    virtual VisitState VisitFace(const Face& face) = 0;
    virtual VisitState VisitEdge(const Edge& edge) = 0;
    virtual VisitState VisitVertex(const Vertex& vertex) = 0;
    virtual VisitState VisitWire(const Wire& wire) = 0;
    virtual VisitState VisitMesh(const Mesh& mesh) = 0;
    virtual VisitState VisitPointSet(const PointSet& pointSet) = 0;

protected:
    VisitState VisitChildren(const Container& container);
};

}  // namespace qxg

// The descending operations are inline and need the complete entity classes.
#include "qxg/Entities.h"
