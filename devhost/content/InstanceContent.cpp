#include "devhost/content/InstanceContent.h"

#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/InstanceNode.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/WorldLock.h"
#include "qxg/Entities.h"

namespace devhost {

InstanceContent GetInstanceContent(const qxk::Instance& instance) {
    {
        WorldGuard guard(WorldMutex());
        if (const auto* own = dynamic_cast<const InstanceContent*>(Node(instance).extension.get())) return *own;
    }
    InstanceContent named;
    du::SmartPtr<WorldContent> world = CurrentContent();
    if (world && world->HasContentByPath()) world->ContentForPath(instance.GetIdPath().str(), named);
    return named;
}

void SetInstanceContent(qxk::Instance& instance, const InstanceContent& content) {
    du::SmartPtr<du::RefCounted> stored(new InstanceContent(content));
    WorldGuard guard(WorldMutex());
    Node(instance).extension = stored;
}

}  // namespace devhost

namespace qxk {

void Instance::GetComponentNode(du::SmartPtr<ComponentNode>& node) const {
    node = nullptr;
    if (devhost::HitFault("qxk::Instance::GetComponentNode")) return;
    devhost::InstanceContent content = devhost::GetInstanceContent(*this);
    if (!content.hasComponent) return;
    du::SmartPtr<devhost::WorldContent> world = devhost::CurrentContent();
    if (world && world->ComponentInViewableSet(GetIdPath().str(), node)) return;
    if (content.component) {
        node = content.component;
    } else if (world) {
        node = world->EmptyComponent();
    }
}

void Instance::GetAnchor(du::SmartPtr<Anchor>& anchor) const {
    anchor = nullptr;
    if (devhost::HitFault("qxk::Instance::GetAnchor")) return;
    if (!devhost::GetInstanceContent(*this).hasAnchor) return;
    if (auto world = devhost::CurrentContent()) anchor = world->SharedAnchor();
}

void ShapeInstance::GetShape(du::SmartPtr<Shape>& shape) const {
    shape = nullptr;
    if (devhost::HitFault("qxk::ShapeInstance::GetShape")) return;
    du::SmartPtr<Instance> instance = GetInstance();
    if (instance) shape = devhost::GetInstanceContent(*instance).shape;
}

namespace {

// The id of a markup of this shape instance's shape; null for a markup that
// belongs to another shape, which the instance then ignores.
du::Symbol OwnMarkupId(const ShapeInstance& shapeInstance, const qxg::Markup* markup) {
    if (!markup) return du::Symbol();
    du::SmartPtr<Shape> shape;
    shapeInstance.GetShape(shape);
    if (!shape) return du::Symbol();
    du::Symbol id(markup->GetId());
    return shape->GetObject(id) == markup ? id : du::Symbol();
}

// Shows or hides a markup of the instance's own shape, and records the call.
void ChangeMarkupVisibility(ShapeInstance& shapeInstance, const char* method, const qxg::Markup* markup,
                            GeomOverride::Visibility visibility, const du::SmartPtr<Operation>& operation) {
    du::Symbol id = OwnMarkupId(shapeInstance, markup);
    if (id.IsNull() || (visibility != GeomOverride::hidden && visibility != GeomOverride::shown)) return;
    devhost::RecordMarkupCall(shapeInstance, {method, id, visibility, operation});
    devhost::SetMarkupVisibility(shapeInstance, id, visibility);
}

}  // namespace

void ShapeInstance::ShowMarkup(const du::SmartPtr<qxg::Markup>& markup, const du::SmartPtr<Operation>& operation) {
    if (devhost::HitFault("qxk::ShapeInstance::ShowMarkup")) return;
    ChangeMarkupVisibility(*this, "ShowMarkup", markup.get(), GeomOverride::shown, operation);
}

void ShapeInstance::HideMarkup(const du::SmartPtr<qxg::Markup>& markup, const du::SmartPtr<Operation>& operation) {
    if (devhost::HitFault("qxk::ShapeInstance::HideMarkup")) return;
    ChangeMarkupVisibility(*this, "HideMarkup", markup.get(), GeomOverride::hidden, operation);
}

void ShapeInstance::SetMarkupVisibility(const qxg::Markup* markup, GeomOverride::Visibility visibility,
                                        const du::SmartPtr<Operation>& operation) {
    if (devhost::HitFault("qxk::ShapeInstance::SetMarkupVisibility")) return;
    ChangeMarkupVisibility(*this, "SetMarkupVisibility", markup, visibility, operation);
}

void ShapeInstance::OverrideMarkupColor(const du::SmartPtr<qxg::Markup>& markup, const dg::Color& color) {
    if (devhost::HitFault("qxk::ShapeInstance::OverrideMarkupColor")) return;
    du::Symbol id = OwnMarkupId(*this, markup.get());
    if (!id.IsNull()) devhost::SetMarkupColor(*this, id, color);
}

bool ShapeInstance::GetMarkupColorOverride(const du::SmartPtr<qxg::Markup>& markup, dg::Color& color) {
    if (devhost::HitFault("qxk::ShapeInstance::GetMarkupColorOverride")) return false;
    du::Symbol id = OwnMarkupId(*this, markup.get());
    return !id.IsNull() && devhost::GetMarkupColor(*this, id, color);
}

}  // namespace qxk
