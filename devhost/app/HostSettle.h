#pragma once

#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace devhost::app {

// Returns once host work has run and the module has served what that work
// posted to it.
void SettleHostAndModule(const du::SmartPtr<webapi::WebApiModule>& module);

}  // namespace devhost::app
