#include "BenchSupport.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <stdexcept>

#include "devhost/platform/TraceLog.h"
#include "devhost/world/Application.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldModel.h"
#include "dom/ManagedObject.h"
#include "qxk/ActiveModule.h"

namespace bench {

PluginClient::PluginClient() : plugin_(WEBAPI_PLUGIN_PATH) {
    if (!plugin_.IsLoaded() || !plugin_.Init() || !plugin_.CreateComponent("world", "web", "api", component_))
        throw std::runtime_error("the plug-in did not start: " + plugin_.Error());
    observer_ = new devhost::TreeObserverReceiver([this](const devhost::ReceivedCall& call) {
        received_.fetch_add(1, std::memory_order_relaxed);
        for (const std::string& argument : call.arguments)
            receivedBytes_.fetch_add(argument.size(), std::memory_order_relaxed);
    });
    client_.Adopt(observer_);
    du::SmartPtr<dom::ManagedObject> proxy;
    const du::Symbol actorName = dynamic_cast<qxk::ActiveModule&>(*component_).GetActorName();
    dom::ManagedObject::FindActor(actorName, "webapi::WebApiModule", proxy);
    module_ = du::DynamicCast<webapi::WebApiModule>(proxy);
    if (!module_) throw std::runtime_error("no module actor");
}

PluginClient::~PluginClient() {
    module_.reset();
    plugin_.Terminate();
    component_.reset();
    plugin_.Unload();
}

void PluginClient::Settle() { devhost::Settle({du::DynamicCast<dom::ManagedObject>(module_), observer_}); }

double Percentile(std::vector<double>& samples, double share) {
    if (samples.empty()) return 0.0;
    std::sort(samples.begin(), samples.end());
    const auto rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(samples.size())));
    return samples[std::min(samples.size() - 1, rank == 0 ? 0 : rank - 1)];
}

std::size_t ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0, resident = 0;
    statm >> pages >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

void DropWorld() {
    devhost::DropWorld();
    devhost::DropApplication();
    devhost::TraceLog::Clear();
}

}  // namespace bench
