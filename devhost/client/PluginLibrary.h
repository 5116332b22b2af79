#pragma once

#include <string>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace devhost {

// A plug-in loaded into this process the way the viewer's module loader
// loads one: dlopen, then its three entries looked up by name.
class PluginLibrary {
public:
    explicit PluginLibrary(std::string path);
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    // True when the library and all three entries were found.
    bool IsLoaded() const;
    // Why loading failed, or "".
    const std::string& Error() const { return error_; }
    const std::string& Path() const { return path_; }

    bool Init();
    bool CreateComponent(const std::string& first, const std::string& second, const std::string& third,
                         du::SmartPtr<du::RefCounted>& component);
    void Terminate();

    // Closes the library once the host worker has done what it was given;
    // true when the library really left the process.
    bool Unload();

private:
    using InitEntry = bool (*)();
    using CreateComponentEntry = bool (*)(const std::string&, const std::string&, const std::string&,
                                          du::SmartPtr<du::RefCounted>&);
    using TerminateEntry = void (*)();

    std::string path_;
    std::string error_;
    void* handle_ = nullptr;
    InitEntry init_ = nullptr;
    CreateComponentEntry createComponent_ = nullptr;
    TerminateEntry terminate_ = nullptr;
};

}  // namespace devhost
