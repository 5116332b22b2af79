// ZoomToAll and ZoomToSelected: one client command that each kind of view
// carries out in its own way. The module has no camera code; it finds who
// handles the active view, by the first row that fits, and passes it on.
#include <initializer_list>

#include "basicnav/ShapeViewFlyToData.h"
#include "commands/ActiveView.h"
#include "commands/WebApiModuleImpl.h"
#include "du/Symbol.h"
#include "qxk/DocumentView.h"
#include "qxk/DrawingView.h"
#include "qxk/IllustrationView.h"
#include "qxk/ImageView.h"
#include "qxk/ShapeView.h"
#include "qxkapp/EcadApi.h"
#include "qxkapp/illustration/NebulaWebIpc.h"
#include "qxloader/Loader.h"

namespace webapi {
namespace {

bool IsOfAny(const qxk::View& view, std::initializer_list<qxk::ClassType> types) {
    for (const qxk::ClassType& type : types)
        if (view.IsATypeOf(type)) return true;
    return false;
}

bool IsOfAnyNumber(const qxk::View& view, std::initializer_list<unsigned int> numbers) {
    for (const unsigned int number : numbers)
        if (view.IsATypeOf(qxk::ClassType(number))) return true;
    return false;
}

bool IsDocumentKind(const qxk::View& view) {
    return IsOfAny(view, {qxk::DrawingView::CLASS_TYPE, qxk::ImageView::CLASS_TYPE, qxk::DocumentView::CLASS_TYPE});
}

// Fly-to data of ZoomToAll: only the fit flag for visible content is added.
// Fly-to-all after a first load (FlyToAllData, tree/FlyToAll.cpp) sets the
// whole-scene flag instead; the two are unlike on purpose and stay apart.
du::SmartPtr<du::RefCounted> ZoomToAllData() {
    du::SmartPtr<basicnav::ShapeViewFlyToData> data(new basicnav::ShapeViewFlyToData());
    data->fitFlags |= basicnav::ShapeViewFlyToData::FIT_VisibleOnly;
    return data;
}

void FlyShapeViewToAll(const qxk::View& view, int mode) {
    SendViewWorkflowMessage(view, "shapeviewflyto", "MsgFlyToAll", mode, ZoomToAllData());
}

void FlyShapeViewToSelected(const qxk::View& view, int mode) {
    SendViewWorkflowMessage(view, "shapeviewflyto", "MsgFlyToSelected", mode, nullptr);
}

// The electronic design module is optional: without a loader, or where it
// is not installed, the command ends.
void EcadFlyToSelected(const du::SmartPtr<qxk::View>& view, int mode) {
    const du::SmartPtr<qxloader::Loader> loader = qxloader::Loader::GetLoader();
    if (!loader) return;
    du::SmartPtr<du::RefCounted> module;
    if (!loader->LoadModule(du::Symbol("ecadapi"), du::Symbol("ecad"), du::Symbol("ecadapi"), module)) return;
    if (const du::SmartPtr<qxkapp::EcadApi> ecad = du::DynamicCast<qxkapp::EcadApi>(module))
        ecad->FlyToSelected(view, mode);
}

// The web views that come through the loader always have one, and a module
// that does not load leaves nothing to cast.
void WebIpcFlyToSelected(const du::SmartPtr<qxk::View>& view, int mode) {
    du::SmartPtr<du::RefCounted> module;
    qxloader::Loader::GetLoader()->LoadModule(du::Symbol("webipc"), du::Symbol("ipc"), du::Symbol("default"), module);
    if (const auto ipc = du::DynamicCast<qxkapp::illustration::NebulaWebIpc>(module)) ipc->FlyToSelected(view, mode);
}

}  // namespace

void WebApiModuleImpl::ZoomToAll(int mode) {
    const du::SmartPtr<qxk::View> view = ApplicationActiveView();
    if (!view) return;
    if (view->IsATypeOf(qxk::ShapeView::CLASS_TYPE)) {
        FlyShapeViewToAll(*view, mode);
    } else if (IsDocumentKind(*view)) {
        view->ZoomView(qxk::View::ZC_All);
    } else if (IsOfAnyNumber(*view, {0x4e, 0x4b, 0x7f, 0x8d})) {
        SendViewWorkflowMessage(*view, "flyto", "MsgFlyToAll", mode, nullptr);
    } else if (IsOfAnyNumber(*view, {0x65, 0x8c})) {
        FlyShapeViewToAll(*view, mode);
    } else if (view->IsATypeOf(qxk::IllustrationView::CLASS_TYPE)) {
        if (const auto illustration = du::DynamicCast<qxk::IllustrationView>(view)) {
            illustration->RunViewCommand(qxk::IllustrationView::VC_FitAll);
            illustration->RunViewCommand(qxk::IllustrationView::VC_Refresh);
        }
    }
}

// Unlike ZoomToAll: no fly-to data for shape views, a module instead of a
// workflow for 0x4e and 0x4b, and nothing for illustration views.
void WebApiModuleImpl::ZoomToSelected(int mode) {
    const du::SmartPtr<qxk::View> view = ApplicationActiveView();
    if (!view) return;
    if (view->IsATypeOf(qxk::ShapeView::CLASS_TYPE)) {
        FlyShapeViewToSelected(*view, mode);
    } else if (IsDocumentKind(*view)) {
        view->ZoomView(qxk::View::ZC_Selected);
    } else if (IsOfAnyNumber(*view, {0x4e, 0x4b})) {
        EcadFlyToSelected(view, mode);
    } else if (view->IsATypeOf(qxk::ClassType(0x7f))) {
        WebIpcFlyToSelected(view, mode);
    } else if (IsOfAnyNumber(*view, {0x8c, 0x65})) {
        FlyShapeViewToSelected(*view, mode);
    } else if (view->IsATypeOf(qxk::ClassType(0x8d))) {
        WebIpcFlyToSelected(view, mode);
    }
}

}  // namespace webapi
