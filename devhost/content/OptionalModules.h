#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "devhost/platform/Faults.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/View.h"
#include "qxkapp/EcadApi.h"
#include "qxkapp/illustration/IllWebApi.h"
#include "qxkapp/illustration/NebulaWebIpc.h"
#include "qxkapp/illustration/SchWebApi.h"

namespace devhost {

// One call made on an optional module.
struct ModuleCall {
    std::string module;  // "ecadapi", "webipc", "illustrate", "schematic"
    std::string method;  // "FlyToSelected", "GetProfiles", "SetProfile", "ResetToDefaultProfile"
    du::SmartPtr<qxk::View> view;
    int flags = 0;    // FlyToSelected's integer
    du::Symbol text;  // SetProfile's name, or the text GetProfiles gave
};

// The calls made on every optional module of a world, in call order.
class ModuleCallLog {
public:
    void Add(ModuleCall call);
    std::vector<ModuleCall> Calls() const;
    void Clear();

private:
    mutable std::mutex mutex_;
    std::vector<ModuleCall> calls_;
};

class EcadModule final : public qxkapp::EcadApi {
public:
    explicit EcadModule(std::shared_ptr<ModuleCallLog> log) : log_(std::move(log)) {}
    void FlyToSelected(const du::SmartPtr<qxk::View>& view, int flags) override;

private:
    const std::shared_ptr<ModuleCallLog> log_;
};

class WebIpcModule final : public qxkapp::illustration::NebulaWebIpc {
public:
    explicit WebIpcModule(std::shared_ptr<ModuleCallLog> log) : log_(std::move(log)) {}
    void FlyToSelected(const du::SmartPtr<qxk::View>& view, int flags) override;

private:
    const std::shared_ptr<ModuleCallLog> log_;
};

// Profile list and current profile of the illustration or schematic module.
// GetProfiles gives the world's profile text as it stands; the current
// profile is kept for inspection.
template <class Api>
class ProfileModule final : public Api {
public:
    ProfileModule(std::shared_ptr<ModuleCallLog> log, std::string name, std::string className, du::Symbol profiles)
        : log_(std::move(log)),
          name_(std::move(name)),
          className_(std::move(className)),
          profiles_(std::move(profiles)) {}

    // A faulted call does nothing and is not recorded.
    void GetProfiles(const du::SmartPtr<qxk::View>& view, du::Symbol& profiles) override {
        if (Faulted("GetProfiles")) return;
        profiles = profiles_;
        log_->Add({name_, "GetProfiles", view, 0, profiles_});
    }
    void SetProfile(const du::SmartPtr<qxk::View>& view, const du::Symbol& name) override {
        if (Faulted("SetProfile")) return;
        log_->Add({name_, "SetProfile", view, 0, name});
    }
    void ResetToDefaultProfile(const du::SmartPtr<qxk::View>& view) override {
        if (Faulted("ResetToDefaultProfile")) return;
        log_->Add({name_, "ResetToDefaultProfile", view, 0, du::Symbol()});
    }

private:
    // Fault points are named after the class, e.g.
    // "qxkapp::illustration::IllWebApi::SetProfile".
    bool Faulted(const char* method) const {
        return HitFault((className_ + "::" + method).c_str());
    }

    const std::shared_ptr<ModuleCallLog> log_;
    const std::string name_;
    const std::string className_;
    const du::Symbol profiles_;
};

using IllustrateModule = ProfileModule<qxkapp::illustration::IllWebApi>;
using SchematicModule = ProfileModule<qxkapp::illustration::SchWebApi>;

}  // namespace devhost
