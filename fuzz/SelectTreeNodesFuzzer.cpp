// SelectTreeNodes text, in its JSON form and in the looser "nodes" query
// form, on the sample world (which has proxies, loaded and not) with a tree
// observer registered. Requests hide, load, expand and query nodes; the call
// must end with its reply and the module must go on serving, whatever the
// text.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>

#include "FuzzHost.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::FuzzHost::Get().RegisterTreeObserver();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzHost& host = fuzz::FuzzHost::Get();
    try {
        host.Module().SelectTreeNodes(du::Symbol(std::string(reinterpret_cast<const char*>(data), size)));
    } catch (const std::exception& e) {
        fuzz::FuzzHost::Finding(std::string("SelectTreeNodes ended with: ") + e.what());
    }
    host.SettleAndCheck();
    return 0;
}
