#include "host/WebApiModuleThread.h"

#include "qxk/World.h"

namespace webapi {

bool WebApiModuleThread::MatchesComponent(const std::string& first, const std::string& second,
                                          const std::string& third) {
    return first == "world" && second == "web" && third == "api";
}

du::Symbol WebApiModuleThread::GetActorName() {
    if (actorName.empty()) {
        std::string name = "WebApiModuleThread";
        name += "-";
        if (const du::SmartPtr<qxk::World> world = qxk::World::GetWorld()) name += world->GetActorName().safe_c_str();
        actorName = du::Symbol(name);
    }
    return actorName;
}

void WebApiModuleThread::AttachQueue(const du::SmartPtr<dom::MessageQueue>& attached) {
    if (queue.get() != attached.get()) queue = attached;
    ManageSelf(attached, GetActorName(), dom::ManagedObject::SCOPE_Global);
}

// A tree watcher still registered is torn down here, on the actor thread
// under the hook's own clauses, where a throwing host tree is written down;
// from the module's destructor it would end the process.
void WebApiModuleThread::OnActorStopped() { EndTreeObservation(); }

}  // namespace webapi
