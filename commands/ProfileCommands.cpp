// Profiles belong to the illustration and schematic views. The module does
// not know what a profile is: it passes the call, with the view, to the host
// module that serves the active view, and hands its text back as it is.
#include "commands/ActiveView.h"
#include "commands/WebApiModuleImpl.h"
#include "qxkapp/illustration/IllWebApi.h"
#include "qxkapp/illustration/SchWebApi.h"
#include "qxk/View.h"
#include "qxloader/Loader.h"

namespace webapi {
namespace {

template <class Api>
du::SmartPtr<Api> LoadProfileApi(const char* component) {
    const du::SmartPtr<qxloader::Loader> loader = qxloader::Loader::GetLoader();
    if (!loader) return nullptr;
    du::SmartPtr<du::RefCounted> module;
    if (!loader->LoadModule(du::Symbol("webapi"), du::Symbol(component), du::Symbol("default"), module))
        return nullptr;
    return du::DynamicCast<Api>(module);
}

du::SmartPtr<qxkapp::illustration::ProfileWebApi> GetIllustrateApi() {
    return LoadProfileApi<qxkapp::illustration::IllWebApi>("illustrate");
}

du::SmartPtr<qxkapp::illustration::ProfileWebApi> GetSchematicApi() {
    return LoadProfileApi<qxkapp::illustration::SchWebApi>("schematic");
}

// The module serving the view's profiles, loaded anew on every call; null
// for a view without profiles.
du::SmartPtr<qxkapp::illustration::ProfileWebApi> ProfileApiFor(const qxk::View& view) {
    if (view.IsATypeOf(qxk::ClassType(0x7f)) || view.IsATypeOf(qxk::ClassType(0x4b))) return GetSchematicApi();
    if (view.IsATypeOf(qxk::ClassType(0x66))) return GetIllustrateApi();
    return nullptr;
}

}  // namespace

du::Symbol WebApiModuleImpl::GetProfiles() {
    du::Symbol profiles;
    const du::SmartPtr<qxk::View> view = ApplicationActiveView();
    if (!view) return profiles;
    if (const auto api = ProfileApiFor(*view)) api->GetProfiles(view, profiles);
    return profiles;
}

void WebApiModuleImpl::SetProfile(const du::Symbol& profile) {
    const du::SmartPtr<qxk::View> view = ApplicationActiveView();
    if (!view) return;
    if (const auto api = ProfileApiFor(*view)) api->SetProfile(view, profile);
}

void WebApiModuleImpl::ResetToDefaultProfile() {
    const du::SmartPtr<qxk::View> view = ApplicationActiveView();
    if (!view) return;
    if (const auto api = ProfileApiFor(*view)) api->ResetToDefaultProfile(view);
}

}  // namespace webapi
