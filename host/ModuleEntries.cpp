// The plug-in's three entries, the whole of its contract with the host's
// module loader. They run on the loader's thread, one at a time.
#include "host/ModuleEntries.h"

#include <string>

#include "dom/MessageQueue.h"
#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "host/WebApiModuleThread.h"
#include "qxk/ActiveModule.h"
#include "qxk/ActiveModuleThread.h"

namespace {

using ModuleThread = qxk::ActiveModuleThread<webapi::WebApiModuleThread, dom::GenericMessageQueue>;

// Owns the thread object between QXDllInit and QXDllTerminate. The loader
// never calls the entries concurrently, so nothing guards it.
ModuleThread* s_moduleThread = nullptr;

}  // namespace

bool QXDllInit() {
    s_moduleThread = new ModuleThread("web", "api");
    return s_moduleThread->Start(true);
}

bool QXDllCreateComponent(const std::string& first, const std::string& second, const std::string& third,
                          du::SmartPtr<du::RefCounted>& component) {
    if (!s_moduleThread->MatchesComponent(first, second, third)) return false;
    qxk::ActiveModule* const module = new qxk::ActiveModule();
    const du::Symbol actorName = s_moduleThread->GetActorName();
    module->SetActorName(actorName);
    component = module;
    return true;
}

void QXDllTerminate() {
    delete s_moduleThread;
    s_moduleThread = nullptr;
}
