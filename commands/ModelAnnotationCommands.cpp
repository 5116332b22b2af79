// Model annotations: the markups in the geometry of the shapes shown in the
// active shape view. A client names one by its instance's idpath and the
// markup's id, and lists, shows, hides and colours them.
#include <set>
#include <sstream>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "commands/ApplicationWorld.h"
#include "commands/ColourText.h"
#include "commands/ModuleTrace.h"
#include "commands/WebApiModuleImpl.h"
#include "qxg/Entities.h"
#include "qxg/Shape.h"
#include "qxg/ShapeVisitor.h"
#include "qxk/GeomOverride.h"
#include "qxk/Instance.h"
#include "qxk/Shape.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeScene.h"
#include "qxk/Tree.h"
#include "qxk/World.h"

namespace webapi {
namespace {

// Gathers the markups of a shape, ordered by address; containers keep the
// base's walk so that it descends into them.
class MarkupShapeVisitor : public qxg::ShapeVisitor {
public:
    qxg::VisitState VisitMarkup(const qxg::Markup& markup) override {
        markups.insert(&markup);
        return qxg::VisitContinue;
    }
    qxg::VisitState VisitFace(const qxg::Face&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitEdge(const qxg::Edge&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitVertex(const qxg::Vertex&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitWire(const qxg::Wire&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitMesh(const qxg::Mesh&) override { return qxg::VisitContinue; }
    qxg::VisitState VisitPointSet(const qxg::PointSet&) override { return qxg::VisitContinue; }

    std::set<const qxg::Markup*> markups;
};


// One annotation: the markup with that id in the shape of the instance at
// idPath, and the instance's shape instance in the scene. With no active
// shape scene nothing resolves.
bool ResolveMarkup(const qxk::Tree& tree, const du::SmartPtr<qxk::ShapeScene>& scene, const du::Symbol& idPath,
                   const du::Symbol& id, du::SmartPtr<qxk::ShapeInstance>& shapeInstance,
                   du::SmartPtr<qxg::Markup>& markup) {
    const du::SmartPtr<qxk::Instance> instance = tree.FindInstance(idPath);
    if (!scene) return false;
    scene->GetShapeInstance(instance, shapeInstance);
    if (!shapeInstance) return false;
    du::SmartPtr<qxk::Shape> shape;
    shapeInstance->GetShape(shape);
    if (!shape) return false;
    qxg::Object* const object = shape->GetObject(id);
    if (!object) return false;
    markup = dynamic_cast<qxg::Markup*>(object);
    return bool(markup);
}

// The markups of the shape of one instance in the scene; false when it has
// no shape instance, shape or shape data.
bool CollectMarkups(const qxk::ShapeScene& scene, const du::SmartPtr<qxk::Instance>& instance,
                    du::SmartPtr<qxk::ShapeInstance>& shapeInstance, MarkupShapeVisitor& visitor) {
    if (!scene.GetShapeInstance(instance, shapeInstance) || !shapeInstance) return false;
    du::SmartPtr<qxk::Shape> shape;
    shapeInstance->GetShape(shape);
    if (!shape) return false;
    du::SmartPtr<qxg::Shape> data;
    shape->GetShapeData(data);
    if (!data) return false;
    data->Accept(visitor);
    return true;
}

}  // namespace

namespace {

// The annotation that Show and Hide act on. Both trace the same words when
// there is no tree: hiding has none of its own, and clients know this one.
bool ResolveAnnotation(WebApiModuleImpl& module, const du::Symbol& idPath, const du::Symbol& id,
                       du::SmartPtr<qxk::ShapeInstance>& shapeInstance, du::SmartPtr<qxg::Markup>& markup) {
    const du::SmartPtr<qxk::World> world = ApplicationWorld();
    if (!world) return false;
    const du::SmartPtr<qxk::Tree> tree = world->tree;
    if (!tree) {
        ModuleTracer()(dp::TT_Error) << "ShowModelAnnoations - No tree\n";
        return false;
    }
    return ResolveMarkup(*tree, module.GetActiveShapeScene(), idPath, id, shapeInstance, markup);
}

}  // namespace

void WebApiModuleImpl::ShowModelAnnoations(const du::Symbol& idPath, const du::Symbol& id) {
    du::SmartPtr<qxk::ShapeInstance> shapeInstance;
    du::SmartPtr<qxg::Markup> markup;
    if (ResolveAnnotation(*this, idPath, id, shapeInstance, markup)) shapeInstance->ShowMarkup(markup, nullptr);
}

void WebApiModuleImpl::HideModelAnnoations(const du::Symbol& idPath, const du::Symbol& id) {
    du::SmartPtr<qxk::ShapeInstance> shapeInstance;
    du::SmartPtr<qxg::Markup> markup;
    if (ResolveAnnotation(*this, idPath, id, shapeInstance, markup)) shapeInstance->HideMarkup(markup, nullptr);
}

namespace {

void SetAllMarkupsVisibility(const du::SmartPtr<qxk::ShapeScene>& scene, qxk::GeomOverride::Visibility visibility) {
    if (!scene) return;
    std::set<du::SmartPtr<qxk::Instance>> instances;
    scene->GetAllInstances(instances);
    for (const auto& instance : instances) {
        du::SmartPtr<qxk::ShapeInstance> shapeInstance;
        MarkupShapeVisitor visitor;
        if (!CollectMarkups(*scene, instance, shapeInstance, visitor)) continue;
        for (const qxg::Markup* markup : visitor.markups) shapeInstance->SetMarkupVisibility(markup, visibility, nullptr);
    }
}

}  // namespace

void WebApiModuleImpl::ShowAllModelAnnoations() {
    SetAllMarkupsVisibility(GetActiveShapeScene(), qxk::GeomOverride::shown);
}

void WebApiModuleImpl::HideAllModelAnnoations() {
    SetAllMarkupsVisibility(GetActiveShapeScene(), qxk::GeomOverride::hidden);
}

void WebApiModuleImpl::SetModelAnnotationColor(const du::Symbol& idPath, const du::Symbol& id,
                                               const du::Symbol& color) {
    const du::SmartPtr<qxk::World> world = ApplicationWorld();
    if (!world) return;
    const du::SmartPtr<qxk::Tree> tree = world->tree;
    if (!tree) {
        ModuleTracer()(dp::TT_Error) << "SetModelAnnotationColor - No tree\n";
        return;
    }
    du::SmartPtr<qxk::ShapeInstance> shapeInstance;
    du::SmartPtr<qxg::Markup> markup;
    if (!ResolveMarkup(*tree, GetActiveShapeScene(), idPath, id, shapeInstance, markup)) return;
    // Unlike painting instances, a bad colour is dropped without a word.
    unsigned int value = 0;
    if (!ParseColourText(color, value)) return;
    shapeInstance->OverrideMarkupColor(markup, dg::Color(value));
}

du::Symbol WebApiModuleImpl::GetModelAnnotationColor(const du::Symbol& idPath, const du::Symbol& id) {
    const du::SmartPtr<qxk::World> world = ApplicationWorld();
    if (!world) return du::Symbol::EMPTY;
    const du::SmartPtr<qxk::Tree> tree = world->tree;
    if (!tree) {
        ModuleTracer()(dp::TT_Error) << "GetModelAnnotationColor - No tree\n";
        return du::Symbol::EMPTY;
    }
    du::SmartPtr<qxk::ShapeInstance> shapeInstance;
    du::SmartPtr<qxg::Markup> markup;
    if (!ResolveMarkup(*tree, GetActiveShapeScene(), idPath, id, shapeInstance, markup)) return du::Symbol();
    // A markup without an override has no colour to report, whatever it
    // shows on screen.
    dg::Color color(0.0f, 0.0f, 0.0f, 1.0f);
    if (!shapeInstance->GetMarkupColorOverride(markup, color)) return du::Symbol();
    std::ostringstream text;
    WriteColourText(text, color);
    return text.good() ? du::Symbol(text.str()) : du::Symbol();
}

void WebApiModuleImpl::GetAllModelAnnotations(du::Symbol& result) {
    rapidjson::Document document;
    document.SetObject();
    rapidjson::Document::AllocatorType& allocator = document.GetAllocator();
    rapidjson::Value list(rapidjson::kArrayType);

    const du::SmartPtr<qxk::ShapeScene> scene = GetActiveShapeScene();
    std::set<du::SmartPtr<qxk::Instance>> instances;
    if (scene) scene->GetAllInstances(instances);
    for (const auto& instance : instances) {
        const du::Symbol idPath = instance->GetIdPath();
        du::SmartPtr<qxk::ShapeInstance> shapeInstance;
        MarkupShapeVisitor visitor;
        if (!CollectMarkups(*scene, instance, shapeInstance, visitor)) continue;
        for (const qxg::Markup* markup : visitor.markups) {
            const char* const markupId = markup->GetId();
            rapidjson::Value entry(rapidjson::kObjectType);
            entry.AddMember("id", rapidjson::Value(markupId ? markupId : "", allocator), allocator);
            entry.AddMember("idpath", rapidjson::Value(idPath.safe_c_str(), allocator), allocator);
            list.PushBack(entry, allocator);
        }
    }
    document.AddMember("modelannotations", list, allocator);

    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    if (buffer.GetSize() > 0) result = du::Symbol(buffer.GetString(), buffer.GetSize());
}

}  // namespace webapi
