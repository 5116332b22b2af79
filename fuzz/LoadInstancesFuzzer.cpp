// LoadInstances and UnloadInstances text, lists of paths and the "update
// begin" / "update end" group words, on the sample world. The input goes to
// both methods, and an empty group closes after it (FuzzHost::CloseLoadGroup).
// Every call must end with its reply and the module must go on serving.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>

#include "FuzzHost.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::FuzzHost::Get();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzHost& host = fuzz::FuzzHost::Get();
    const du::Symbol text(std::string(reinterpret_cast<const char*>(data), size));
    webapi::WebApiModule& module = host.Module();
    try {
        module.LoadInstances(text);
        module.UnloadInstances(text);
        host.CloseLoadGroup();
    } catch (const std::exception& e) {
        fuzz::FuzzHost::Finding(std::string("a load request ended with: ") + e.what());
    }
    host.SettleAndCheck();
    return 0;
}
