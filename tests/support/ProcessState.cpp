#include "ProcessState.h"

#include <dirent.h>

#include <chrono>
#include <thread>

#include "dom/Proxy.h"
#include "du/Symbol.h"

namespace support {

int ThreadCount() {
    int count = 0;
    if (DIR* tasks = opendir("/proc/self/task")) {
        while (const dirent* entry = readdir(tasks)) count += entry->d_name[0] != '.';
        closedir(tasks);
    }
    return count;
}

int ThreadCountOnceAt(int expected) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    int count = ThreadCount();
    while (count != expected && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        count = ThreadCount();
    }
    return count;
}

bool AnyModuleFactoryRegistered() {
    const dom::ProxyFactoryMap& factories = dom::ProxyFactoryMap::Instance();
    for (const char* name : {"webapi::WebApiModule", "webapi::TreeObserver", "webapi::ViewablesRequest"})
        if (factories.FindFactory(du::Symbol(name)) != nullptr) return true;
    return false;
}

}  // namespace support
