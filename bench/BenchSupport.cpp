#include "BenchSupport.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>

#include "devhost/platform/TraceLog.h"
#include "devhost/world/Application.h"
#include "devhost/world/WorldModel.h"

namespace bench {

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
