// Commands whose work is still to come. Each answers with its empty result,
// as a command does when the viewer has nothing to act on.
#include "commands/WebApiModuleImpl.h"

namespace webapi {

du::Symbol WebApiModuleImpl::GetCurrentSelection() { return du::Symbol(); }

void WebApiModuleImpl::SetInstancesColor(const std::vector<du::Symbol>&, bool, const du::Symbol&) {}

du::Symbol WebApiModuleImpl::GetInstanceColor(const du::Symbol&) { return du::Symbol(); }

void WebApiModuleImpl::RestoreInstancesVisibility() {}

void WebApiModuleImpl::AddAnnotationLabel(const du::Symbol&, double, double, double) {}

void WebApiModuleImpl::LoadAnnotationSet(const du::Symbol&) {}

du::Symbol WebApiModuleImpl::GetAnnotationSetName(unsigned int) { return du::Symbol(); }

unsigned int WebApiModuleImpl::GetNumberOfAnnotationSets() { return 0; }

void WebApiModuleImpl::GetViewables(const du::SmartPtr<ViewablesRequest>&, int) {}

void WebApiModuleImpl::ZoomToSelected(int) {}

void WebApiModuleImpl::ZoomToAll(int) {}

void WebApiModuleImpl::SetCrossSelection(bool) {}

du::Symbol WebApiModuleImpl::GetProfiles() { return du::Symbol(); }

void WebApiModuleImpl::SetProfile(const du::Symbol&) {}

void WebApiModuleImpl::ResetToDefaultProfile() {}

void WebApiModuleImpl::ToggleConnectionPath() {}

void WebApiModuleImpl::NavigateConnection() {}

void WebApiModuleImpl::ReverseNavigateConection() {}

void WebApiModuleImpl::ShowModelAnnoations(const du::Symbol&, const du::Symbol&) {}

void WebApiModuleImpl::HideModelAnnoations(const du::Symbol&, const du::Symbol&) {}

void WebApiModuleImpl::ShowAllModelAnnoations() {}

void WebApiModuleImpl::HideAllModelAnnoations() {}

void WebApiModuleImpl::SetModelAnnotationColor(const du::Symbol&, const du::Symbol&, const du::Symbol&) {}

du::Symbol WebApiModuleImpl::GetModelAnnotationColor(const du::Symbol&, const du::Symbol&) { return du::Symbol(); }

void WebApiModuleImpl::GetAllModelAnnotations(du::Symbol&) {}

}  // namespace webapi
