// Commands whose work is still to come. Each answers with its empty result,
// as a command does when the viewer has nothing to act on.
#include "commands/WebApiModuleImpl.h"

namespace webapi {

void WebApiModuleImpl::ZoomToSelected(int) {}

void WebApiModuleImpl::ZoomToAll(int) {}

void WebApiModuleImpl::SetCrossSelection(bool) {}

du::Symbol WebApiModuleImpl::GetProfiles() { return du::Symbol(); }

void WebApiModuleImpl::SetProfile(const du::Symbol&) {}

void WebApiModuleImpl::ResetToDefaultProfile() {}

void WebApiModuleImpl::ToggleConnectionPath() {}

void WebApiModuleImpl::NavigateConnection() {}

void WebApiModuleImpl::ReverseNavigateConection() {}

}  // namespace webapi
