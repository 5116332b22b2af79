#include "devhost/app/HostSettle.h"

#include "devhost/world/HostWorker.h"

namespace devhost::app {

void SettleHostAndModule(const du::SmartPtr<webapi::WebApiModule>& module) {
    // Host work may post to the module, and the module answer the client: a
    // round trip through each in turn.
    DrainHostWorker();
    if (module) module->GetNumberOfAnnotationSets();
    DrainHostWorker();
}

}  // namespace devhost::app
