#pragma once

#include <string>
#include <vector>

#include "devhost/client/PluginLibrary.h"
#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "qxk/View.h"
#include "remote/WebApiModule.h"

namespace vtest {

// The sample world with the plug-in started in it, as the viewer runs it,
// and a client's way to the module: every call waits for its reply, so the
// method has run when it returns. Drops world and application at the end.
class ViewerSession {
public:
    ViewerSession();
    ~ViewerSession();
    ViewerSession(const ViewerSession&) = delete;
    ViewerSession& operator=(const ViewerSession&) = delete;

    bool Started() const { return module != nullptr; }
    // Makes the named view active, "" for none.
    void Activate(const std::string& viewName);

    du::SmartPtr<webapi::WebApiModule> module;

private:
    devhost::PluginLibrary plugin_;
    du::SmartPtr<du::RefCounted> component_;
};

du::SmartPtr<qxk::View> View(const std::string& name);

// What reached a view and the optional modules, one word per call:
//   workflow:message:value:data      data is "null", "flyto(5,0)" for fly-to
//                                     data (its two flag bytes), or "other"
//   zoom:CODE   command:CODE          ZoomView and RunViewCommand
//   module.Method:view:flags          a call on an optional module
std::vector<std::string> HostCalls(const std::string& viewName);
std::vector<std::string> ModuleCalls();
void ForgetModuleCalls();

}  // namespace vtest
