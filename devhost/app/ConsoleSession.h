#pragma once

#include <string>

#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace devhost::app {

// Runs a web client's session of command lines (a file, or "-" for standard
// input) against the module, printing each call's result and each callback.
// Gives the number of lines that failed.
int RunConsoleSession(const du::SmartPtr<webapi::WebApiModule>& module, const std::string& session);

}  // namespace devhost::app
