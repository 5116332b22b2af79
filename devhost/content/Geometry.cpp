#include "devhost/content/Geometry.h"

#include <utility>

#include "devhost/platform/Faults.h"

namespace devhost {
namespace {

template <class Kind>
class Leaf final : public Kind {
public:
    explicit Leaf(std::string id) : id_(std::move(id)) {}
    const char* GetId() const override { return id_.c_str(); }

private:
    const std::string id_;
};

template <class Kind>
class Group final : public Kind {
public:
    Group(std::string id, std::vector<du::SmartPtr<qxg::Object>> children)
        : id_(std::move(id)), children_(std::move(children)) {}
    const char* GetId() const override { return id_.c_str(); }
    std::size_t GetChildCount() const override { return children_.size(); }
    const qxg::Object* GetChild(std::size_t index) const override {
        return index < children_.size() ? children_[index].get() : nullptr;
    }

private:
    const std::string id_;
    const std::vector<du::SmartPtr<qxg::Object>> children_;
};

const std::map<std::string, GeomKind>& KindNames() {
    static const std::map<std::string, GeomKind> names = {
        {"body", GeomKind::Body},     {"region", GeomKind::Region}, {"shell", GeomKind::Shell},
        {"markup", GeomKind::Markup}, {"face", GeomKind::Face},     {"edge", GeomKind::Edge},
        {"vertex", GeomKind::Vertex}, {"wire", GeomKind::Wire},     {"mesh", GeomKind::Mesh},
        {"pointset", GeomKind::PointSet}};
    return names;
}

// Indexes every object under object by id; the first of equal ids wins.
class IdIndexer final : public qxg::ShapeVisitor {
public:
    explicit IdIndexer(std::map<du::Symbol, qxg::Object*>& index) : index_(index) {}

    qxg::VisitState VisitBody(const qxg::Body& o) override { Add(o); return VisitChildren(o); }
    qxg::VisitState VisitRegion(const qxg::Region& o) override { Add(o); return VisitChildren(o); }
    qxg::VisitState VisitShell(const qxg::Shell& o) override { Add(o); return VisitChildren(o); }
    qxg::VisitState VisitMarkup(const qxg::Markup& o) override { return Add(o); }
    qxg::VisitState VisitFace(const qxg::Face& o) override { return Add(o); }
    qxg::VisitState VisitEdge(const qxg::Edge& o) override { return Add(o); }
    qxg::VisitState VisitVertex(const qxg::Vertex& o) override { return Add(o); }
    qxg::VisitState VisitWire(const qxg::Wire& o) override { return Add(o); }
    qxg::VisitState VisitMesh(const qxg::Mesh& o) override { return Add(o); }
    qxg::VisitState VisitPointSet(const qxg::PointSet& o) override { return Add(o); }

private:
    qxg::VisitState Add(const qxg::Object& object) {
        index_.emplace(du::Symbol(object.GetId()), const_cast<qxg::Object*>(&object));
        return qxg::VisitContinue;
    }
    std::map<du::Symbol, qxg::Object*>& index_;
};

class MarkupLister final : public qxg::ShapeVisitor {
public:
    qxg::VisitState VisitMarkup(const qxg::Markup& o) override {
        ids.emplace_back(o.GetId());
        return qxg::VisitContinue;
    }
    qxg::VisitState VisitFace(const qxg::Face&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitEdge(const qxg::Edge&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitVertex(const qxg::Vertex&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitWire(const qxg::Wire&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitMesh(const qxg::Mesh&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitPointSet(const qxg::PointSet&) override { return qxg::VisitContinue; }

    std::vector<du::Symbol> ids;
};

}  // namespace

bool GeomKindFromName(const std::string& name, GeomKind& kind) {
    auto found = KindNames().find(name);
    if (found == KindNames().end()) return false;
    kind = found->second;
    return true;
}

bool IsContainerKind(GeomKind kind) {
    return kind == GeomKind::Body || kind == GeomKind::Region || kind == GeomKind::Shell;
}

du::SmartPtr<qxg::Object> MakeGeometry(GeomKind kind, const std::string& id,
                                       std::vector<du::SmartPtr<qxg::Object>> children) {
    switch (kind) {
        case GeomKind::Body: return new Group<qxg::Body>(id, std::move(children));
        case GeomKind::Region: return new Group<qxg::Region>(id, std::move(children));
        case GeomKind::Shell: return new Group<qxg::Shell>(id, std::move(children));
        case GeomKind::Markup: return new Leaf<qxg::Markup>(id);
        case GeomKind::Face: return new Leaf<qxg::Face>(id);
        case GeomKind::Edge: return new Leaf<qxg::Edge>(id);
        case GeomKind::Vertex: return new Leaf<qxg::Vertex>(id);
        case GeomKind::Wire: return new Leaf<qxg::Wire>(id);
        case GeomKind::Mesh: return new Leaf<qxg::Mesh>(id);
        case GeomKind::PointSet: return new Leaf<qxg::PointSet>(id);
    }
    return nullptr;
}

ShapeData::ShapeData(const std::vector<du::SmartPtr<qxg::Object>>& bodies) {
    for (const auto& object : bodies)
        if (auto* body = dynamic_cast<qxg::Body*>(object.get())) bodies_.emplace_back(body);
}

const qxg::Body* ShapeData::GetBody(std::size_t index) const {
    return index < bodies_.size() ? bodies_[index].get() : nullptr;
}

Shape::Shape(du::Symbol name, du::SmartPtr<ShapeData> data) : name_(std::move(name)), data_(std::move(data)) {
    if (data_) {
        IdIndexer indexer(objectsById_);
        data_->Accept(indexer);
    }
}

void Shape::GetShapeData(du::SmartPtr<qxg::Shape>& data) const {
    if (HitFault("qxk::Shape::GetShapeData")) {
        data = nullptr;
        return;
    }
    data = data_;
}

qxg::Object* Shape::GetObject(const du::Symbol& id) const {
    if (HitFault("qxk::Shape::GetObject")) return nullptr;
    auto found = objectsById_.find(id);
    return found == objectsById_.end() ? nullptr : found->second;
}

std::vector<du::Symbol> Shape::GetMarkupIds() const {
    MarkupLister lister;
    if (data_) data_->Accept(lister);
    return lister.ids;
}

}  // namespace devhost
