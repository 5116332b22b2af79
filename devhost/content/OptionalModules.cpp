#include "devhost/content/OptionalModules.h"

#include <utility>

#include "devhost/platform/Faults.h"

namespace devhost {

void ModuleCallLog::Add(ModuleCall call) {
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.push_back(std::move(call));
}

std::vector<ModuleCall> ModuleCallLog::Calls() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

void ModuleCallLog::Clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.clear();
}

void EcadModule::FlyToSelected(const du::SmartPtr<qxk::View>& view, int flags) {
    if (HitFault("qxkapp::EcadApi::FlyToSelected")) return;
    log_->Add({"ecadapi", "FlyToSelected", view, flags, du::Symbol()});
}

void WebIpcModule::FlyToSelected(const du::SmartPtr<qxk::View>& view, int flags) {
    if (HitFault("qxkapp::illustration::NebulaWebIpc::FlyToSelected")) return;
    log_->Add({"webipc", "FlyToSelected", view, flags, du::Symbol()});
}

}  // namespace devhost
