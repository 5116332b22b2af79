#include "devhost/content/OptionalModules.h"

#include <utility>

#include "devhost/platform/Faults.h"
#include "devhost/world/HostChanges.h"

namespace devhost {

void ModuleCallLog::Add(ModuleCall call) {
    int index;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        calls_.push_back(std::move(call));
        index = static_cast<int>(calls_.size() - 1);
    }
    NoteHostChange({HostChange::Kind::ModuleCall, nullptr, nullptr, nullptr, {}, {}, index});
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
