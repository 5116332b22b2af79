#include "devhost/app/AllocatorTuning.h"

#include <climits>
#include <cstdlib>
#include <string>

#include <unistd.h>

namespace {

constexpr const char* kVariable = "GLIBC_TUNABLES";
// Set in the new start, so that it never runs itself a third time.
constexpr const char* kMark = "WEBAPI_DEVHOST_ALLOCATOR";

}  // namespace

void RunWithTunedAllocator(char** argv) {
    if (std::getenv(kMark)) return;
    const char* given = std::getenv(kVariable);
    const std::string before = given ? given : "";
    std::string tunables = before;
    const char* const settings[][2] = {{"glibc.malloc.hugetlb=", "1"}, {"glibc.malloc.arena_max=", "1"}};
    for (const auto& setting : settings) {
        if (tunables.find(setting[0]) != std::string::npos) continue;
        if (!tunables.empty()) tunables += ':';
        tunables += std::string(setting[0]) + setting[1];
    }
    // The program's own file by its name, so that the process keeps its name
    // (that of /proc/self/exe would be "exe").
    char self[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0) return;
    self[length] = '\0';
    if (setenv(kVariable, tunables.c_str(), 1) != 0 || setenv(kMark, "1", 1) != 0) return;
    execv(self, argv);
    // Not started again: go on with the allocator as it is.
    unsetenv(kMark);
    if (given)
        setenv(kVariable, before.c_str(), 1);
    else
        unsetenv(kVariable);
}
