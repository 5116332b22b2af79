#include "devhost/client/PluginLibrary.h"

#include <dlfcn.h>

#include <utility>

#include "devhost/world/HostWorker.h"

namespace devhost {

PluginLibrary::PluginLibrary(std::string path) : path_(std::move(path)) {
    handle_ = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) {
        const char* why = dlerror();
        error_ = why != nullptr ? why : "dlopen failed";
        return;
    }
    init_ = reinterpret_cast<InitEntry>(dlsym(handle_, "QXDllInit"));
    createComponent_ = reinterpret_cast<CreateComponentEntry>(dlsym(handle_, "QXDllCreateComponent"));
    terminate_ = reinterpret_cast<TerminateEntry>(dlsym(handle_, "QXDllTerminate"));
    if (!IsLoaded()) error_ = "the library lacks an entry point";
}

PluginLibrary::~PluginLibrary() { Unload(); }

bool PluginLibrary::IsLoaded() const {
    return handle_ != nullptr && init_ != nullptr && createComponent_ != nullptr && terminate_ != nullptr;
}

bool PluginLibrary::Init() { return IsLoaded() && init_(); }

bool PluginLibrary::CreateComponent(const std::string& first, const std::string& second, const std::string& third,
                                    du::SmartPtr<du::RefCounted>& component) {
    return IsLoaded() && createComponent_(first, second, third, component);
}

void PluginLibrary::Terminate() {
    if (IsLoaded()) terminate_();
}

bool PluginLibrary::Unload() {
    if (handle_ == nullptr) return true;
    // The host's own work may hold objects of the library for a moment (a
    // fetch completing the module's event): it ends before the code goes.
    DrainHostWorker();
    dlclose(handle_);
    handle_ = nullptr;
    init_ = nullptr;
    createComponent_ = nullptr;
    terminate_ = nullptr;
    void* again = dlopen(path_.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (again == nullptr) return true;
    dlclose(again);
    return false;
}

}  // namespace devhost
