#pragma once

#include <map>
#include <string>
#include <vector>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxg/Shape.h"
#include "qxk/Shape.h"

namespace devhost {

enum class GeomKind { Body, Region, Shell, Markup, Face, Edge, Vertex, Wire, Mesh, PointSet };

// The kind named by its world-file text ("body", "markup", "pointset", ...);
// false for an unknown name.
bool GeomKindFromName(const std::string& name, GeomKind& kind);
bool IsContainerKind(GeomKind kind);

// Makes one geometry object. Children are kept by containers and ignored by
// the other kinds.
du::SmartPtr<qxg::Object> MakeGeometry(GeomKind kind, const std::string& id,
                                       std::vector<du::SmartPtr<qxg::Object>> children = {});

// The geometry of one shape: its bodies, fixed once made.
class ShapeData final : public qxg::Shape {
public:
    // Objects that are not bodies are left out.
    explicit ShapeData(const std::vector<du::SmartPtr<qxg::Object>>& bodies);

    std::size_t GetBodyCount() const override { return bodies_.size(); }
    const qxg::Body* GetBody(std::size_t index) const override;

private:
    std::vector<du::SmartPtr<qxg::Body>> bodies_;
};

// A shape of the world: a name and its geometry, with its objects found by
// id. Fixed once made, so shape instances of any number of instances share it.
class Shape final : public qxk::Shape {
public:
    Shape(du::Symbol name, du::SmartPtr<ShapeData> data);

    void GetShapeData(du::SmartPtr<qxg::Shape>& data) const override;
    qxg::Object* GetObject(const du::Symbol& id) const override;

    const du::Symbol& GetName() const { return name_; }
    // Ids of the markups in walk order.
    std::vector<du::Symbol> GetMarkupIds() const;

private:
    const du::Symbol name_;
    const du::SmartPtr<ShapeData> data_;
    std::map<du::Symbol, qxg::Object*> objectsById_;
};

}  // namespace devhost
