#pragma once

#include <dlfcn.h>

#include <string>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace ptest {

// The plug-in loaded into this process as the host's loader loads it, with
// its three entries looked up by name.
class LoadedPlugin {
public:
    using InitEntry = bool (*)();
    using CreateComponentEntry = bool (*)(const std::string&, const std::string&, const std::string&,
                                          du::SmartPtr<du::RefCounted>&);
    using TerminateEntry = void (*)();

    LoadedPlugin() : handle(dlopen(WEBAPI_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL)) {
        if (handle == nullptr) return;
        init = reinterpret_cast<InitEntry>(dlsym(handle, "QXDllInit"));
        createComponent = reinterpret_cast<CreateComponentEntry>(dlsym(handle, "QXDllCreateComponent"));
        terminate = reinterpret_cast<TerminateEntry>(dlsym(handle, "QXDllTerminate"));
    }
    ~LoadedPlugin() { Unload(); }
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;

    bool Loaded() const { return handle != nullptr && init && createComponent && terminate; }

    // True when the library really left the process.
    bool Unload() {
        if (handle == nullptr) return true;
        dlclose(handle);
        handle = nullptr;
        void* again = dlopen(WEBAPI_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD);
        if (again == nullptr) return true;
        dlclose(again);
        return false;
    }

    InitEntry init = nullptr;
    CreateComponentEntry createComponent = nullptr;
    TerminateEntry terminate = nullptr;

private:
    void* handle;
};

}  // namespace ptest
