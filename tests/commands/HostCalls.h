#pragma once

#include <string>
#include <vector>

namespace cmdtest {

// What reached a view and the optional modules, one word per call:
//   workflow:message:value:data      data is "null", "flyto(5,0)" for fly-to
//                                     data (its two flag bytes), or "other"
//   zoom:CODE   command:CODE          ZoomView and RunViewCommand
//   module.Method:view:flags          a call on an optional module
std::vector<std::string> HostCalls(const std::string& viewName);
std::vector<std::string> ModuleCalls();
void ForgetModuleCalls();

// The module's own trace channel ("web", "api").
std::vector<std::string> CommandTraces();

}  // namespace cmdtest
