// Colour text, as SetInstancesColor and SetModelAnnotationColor read it, on
// an instance, on a branch and on a markup of the sample world; the input
// also stands as the instance path and markup id. Every call must end with
// its reply, whether the text is taken or refused, and the colours must
// read back.
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
        module.SetInstancesColor({"drone/frame/arm_1"}, false, text);
        module.SetInstancesColor({"drone/propulsion", text}, true, text);
        module.GetInstanceColor("drone/frame/arm_1");
        module.GetInstanceColor(text);
        module.SetModelAnnotationColor("drone/frame/body_top", "dim_width", text);
        module.SetModelAnnotationColor(text, text, "ff00ff");
        module.GetModelAnnotationColor("drone/frame/body_top", "dim_width");
    } catch (const std::exception& e) {
        fuzz::FuzzHost::Finding(std::string("a colour request ended with: ") + e.what());
    }
    host.SettleAndCheck();
    return 0;
}
