// Every fault point of the host, made to fail (null or false) and made to
// throw, under each method of the module, one at a time: the plug-in must
// not crash. A failing host operation takes the module's silent paths and
// leaves it serving; a throwing one may end the actor, which is its
// exception policy, and every request after that fails cleanly. Each row
// (one fault point, one kind) runs in a child process of its own, so a
// crash is caught, named by its method, and does not end the matrix.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "CleanProcess.h"
#include "PluginClient.h"
#include "devhost/platform/Faults.h"

namespace rtest {
namespace {

using support::PluginClient;

struct Method {
    const char* name;
    std::function<void(PluginClient&)> call;
};

const std::vector<Method>& Methods() {
    static const std::vector<Method> methods = {
        {"RegisterTreeObserver", [](PluginClient& p) { p.Module().RegisterTreeObserver(p.Observer()); }},
        {"GetCurrentSelection", [](PluginClient& p) { p.Module().GetCurrentSelection(); }},
        {"SetInstancesColor", [](PluginClient& p) { p.Module().SetInstancesColor({"drone/frame"}, true, "ff"); }},
        {"GetInstanceColor", [](PluginClient& p) { p.Module().GetInstanceColor("drone/frame/arm_1"); }},
        {"RestoreInstancesVisibility", [](PluginClient& p) { p.Module().RestoreInstancesVisibility(); }},
        {"LoadInstances", [](PluginClient& p) { p.Module().LoadInstances("[\"drone/electronics/gps\"]"); }},
        {"UnloadInstances", [](PluginClient& p) { p.Module().UnloadInstances("[\"drone/frame/arm_1\"]"); }},
        {"AddAnnotationLabel", [](PluginClient& p) { p.Module().AddAnnotationLabel("label", 1, 2, 3); }},
        {"LoadAnnotationSet", [](PluginClient& p) { p.Module().LoadAnnotationSet("Exploded view"); }},
        {"GetAnnotationSetName", [](PluginClient& p) { p.Module().GetAnnotationSetName(0); }},
        {"GetNumberOfAnnotationSets", [](PluginClient& p) { p.Module().GetNumberOfAnnotationSets(); }},
        {"GetViewables", [](PluginClient& p) { p.Module().GetViewables(p.Viewables(), 1); }},
        {"ZoomToSelected", [](PluginClient& p) { p.Module().ZoomToSelected(0); }},
        {"ZoomToAll", [](PluginClient& p) { p.Module().ZoomToAll(1); }},
        {"SetCrossSelection", [](PluginClient& p) { p.Module().SetCrossSelection(true); }},
        {"SelectTreeNodes", [](PluginClient& p) { p.Module().SelectTreeNodes("{\"primaryNode\":\"2\"}"); }},
        {"SelectTreeNodes nodes",
         [](PluginClient& p) { p.Module().SelectTreeNodes("{\"nodes\":[\"1\"],\"depth\":3}"); }},
        {"SelectTreeNodes unloaded",
         [](PluginClient& p) {
             p.Module().SelectTreeNodes("{\"unloadedPrimaryNode\":\"drone/electronics/gps/antenna\"}");
         }},
        {"GetProfiles", [](PluginClient& p) { p.Module().GetProfiles(); }},
        {"SetProfile", [](PluginClient& p) { p.Module().SetProfile("default"); }},
        {"ResetToDefaultProfile", [](PluginClient& p) { p.Module().ResetToDefaultProfile(); }},
        {"ToggleConnectionPath", [](PluginClient& p) { p.Module().ToggleConnectionPath(); }},
        {"NavigateConnection", [](PluginClient& p) { p.Module().NavigateConnection(); }},
        {"ReverseNavigateConection", [](PluginClient& p) { p.Module().ReverseNavigateConection(); }},
        {"ShowModelAnnoations",
         [](PluginClient& p) { p.Module().ShowModelAnnoations("drone/frame/body_top", "dim_width"); }},
        {"HideModelAnnoations",
         [](PluginClient& p) { p.Module().HideModelAnnoations("drone/frame/body_top", "dim_width"); }},
        {"ShowAllModelAnnoations", [](PluginClient& p) { p.Module().ShowAllModelAnnoations(); }},
        {"HideAllModelAnnoations", [](PluginClient& p) { p.Module().HideAllModelAnnoations(); }},
        {"SetModelAnnotationColor",
         [](PluginClient& p) { p.Module().SetModelAnnotationColor("drone/frame/body_top", "dim_width", "ff"); }},
        {"GetModelAnnotationColor",
         [](PluginClient& p) { p.Module().GetModelAnnotationColor("drone/frame/body_top", "dim_width"); }},
        {"GetAllModelAnnotations",
         [](PluginClient& p) {
             du::Symbol list;
             p.Module().GetAllModelAnnotations(list);
         }},
        {"UnRegisterTreeObserver", [](PluginClient& p) { p.Module().UnRegisterTreeObserver(p.Observer()); }},
    };
    return methods;
}

// The host operations that can be made to fail, beyond the platform's own
// start-up points (thread start and binding), which the plug-in's entry
// tests cover.
const std::vector<std::string>& FaultPoints() {
    static const std::vector<std::string> points = {
#include "FaultPoints.inc"
    };
    return points;
}

// How one method ended under a fault: "answered", "failed" (the sender got
// an exception, the module serves on), "ended" (the module no longer
// serves), or, told by the parent, "crashed".
using Row = std::map<std::string, std::string>;

// In the child: the whole row, one line per method, "method=outcome",
// each method's name written before it runs so that a crash is placed.
[[noreturn]] void RunRow(int out, const std::string& point, devhost::FaultKind kind, std::size_t first) {
    support::LoadWorld("");
    auto client = std::make_unique<PluginClient>();
    for (std::size_t i = first; i < Methods().size(); ++i) {
        const Method& method = Methods()[i];
        if (!client->Serves()) {
            // The plug-in is one library: the old one goes before it starts again.
            client.reset();
            client = std::make_unique<PluginClient>();
        }
        dprintf(out, "%s=", method.name);
        std::string outcome = "answered";
        devhost::ArmFault(point, devhost::Fault{kind, "fault at " + point});
        try {
            method.call(*client);
            client->Settle();
        } catch (...) {
            outcome = "failed";
        }
        devhost::DisarmAllFaults();
        if (!client->Serves()) outcome = "ended";
        dprintf(out, "%s\n", outcome.c_str());
    }
    _exit(0);
}

// The row from method first on; a crash ends it at the method that ran.
Row RunRowInChild(const std::string& point, devhost::FaultKind kind, std::size_t first) {
    int pipes[2];
    if (pipe(pipes) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        close(pipes[0]);
        RunRow(pipes[1], point, kind, first);
    }
    close(pipes[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t n; (n = read(pipes[0], buffer, sizeof buffer)) > 0;) text.append(buffer, static_cast<std::size_t>(n));
    close(pipes[0]);
    int status = 0;
    waitpid(child, &status, 0);
    Row row;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t eq = text.find('=', at);
        if (eq == std::string::npos) break;
        const std::size_t nl = text.find('\n', eq);
        const std::string name = text.substr(at, eq - at);
        if (nl == std::string::npos) {
            row[name] = "crashed";
            break;
        }
        row[name] = text.substr(eq + 1, nl - eq - 1);
        at = nl + 1;
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) row["(process)"] = "crashed";
    return row;
}

// The whole row: after a crash, again from the method behind it.
Row RunRow(const std::string& point, devhost::FaultKind kind) {
    Row row;
    for (std::size_t first = 0; first < Methods().size();) {
        Row part = RunRowInChild(point, kind, first);
        const bool crashed = part.erase("(process)") > 0;
        std::size_t reached = first;
        while (reached < Methods().size() && part.count(Methods()[reached].name)) ++reached;
        row.insert(part.begin(), part.end());
        if (!crashed) break;
        // A crash before any method ran is the row's own: nothing to move past.
        if (reached == first) {
            row["(process)"] = "crashed";
            break;
        }
        first = reached;
    }
    return row;
}

// Pairs of a host operation and a method under which the module uses the
// operation's null result unchecked, as its design has it, and so crashes
// when the host is in the state named. Reported, not failed; a pair listed
// here that no longer crashes fails the matrix, so that the list stays what
// the code does. A throwing operation has no such pair: every throw reaches
// the actor's exception policy.
using Hazards = std::map<std::pair<std::string, std::string>, std::string>;

const Hazards& FailingOperationHazards() {
    static const auto hazards = [] {
        Hazards all;
        // The view commands reach the active view through the application
        // and its scene manager unchecked: a viewer has both from start-up to
        // shut-down, so only a host still starting or already closing gives
        // null there.
        for (const char* method : {"ZoomToSelected", "ZoomToAll", "GetProfiles", "SetProfile", "ResetToDefaultProfile",
                                   "ToggleConnectionPath", "NavigateConnection", "ReverseNavigateConection"})
            for (const char* point : {"qxkapp::QxkApp::Get", "qxkapp::QxkApp::GetSceneManager"})
                all[{point, method}] = "the application, or its scene manager, is not there yet or any more";
        return all;
    }();
    return hazards;
}

// Allocation from the kernel's memory pool fails as operator new does, by
// throwing std::bad_alloc, so under these points a failure is a throw, and
// the actor's exception policy applies.
const std::set<std::string> kFailByThrowing = {"du::CommonAllocatorImpl::Allocate",
                                               "qxk::MemoryPoolAllocated::operator new"};

// Runs every row of one kind and checks each cell; returns the cells tried.
int RunMatrix(devhost::FaultKind kind, std::set<std::string> allowed, const Hazards& hazards) {
    int cells = 0;
    std::set<std::pair<std::string, std::string>> crashedHazards;
    std::map<std::string, int> tally;
    for (const std::string& point : FaultPoints()) {
        const Row row = RunRow(point, kind);
        EXPECT_EQ(row.count("(process)"), 0u) << point << ": the row's process crashed before any method";
        for (const Method& method : Methods()) {
            const auto found = row.find(method.name);
            if (found == row.end()) continue;
            ++cells;
            ++tally[found->second];
            const auto hazard = hazards.find({point, method.name});
            if (found->second == "crashed" && hazard != hazards.end()) {
                std::printf("contract hazard: %s under %s: %s\n", point.c_str(), method.name, hazard->second.c_str());
                crashedHazards.insert(hazard->first);
                continue;
            }
            const bool throws = kind != devhost::FaultKind::Fail || kFailByThrowing.count(point);
            EXPECT_TRUE(allowed.count(found->second) || (throws && found->second == "ended"))
                << point << " under " << method.name << ": " << found->second;
        }
    }
    for (const auto& [pair, words] : hazards)
        EXPECT_TRUE(crashedHazards.count(pair)) << pair.first << " under " << pair.second
                                                << " no longer crashes: take it off the list";
    std::string summary;
    for (const auto& [outcome, count] : tally) summary += outcome + "=" + std::to_string(count) + " ";
    std::printf("%d cells: %s\n", cells, summary.c_str());
    return cells;
}

// A host operation that gives null or false is a state the host can be in:
// the module takes its silent paths and serves on.
TEST(FaultMatrix, EveryFailingHostOperationLeavesTheModuleServing) {
#if defined(__SANITIZE_THREAD__)
    // Crashes are what the matrix looks for, and the plain and address
    // builds run it; the thread sanitizer's build takes minutes over it.
    GTEST_SKIP();
#endif
    RecordProperty("cells", RunMatrix(devhost::FaultKind::Fail, {"answered", "failed"}, FailingOperationHazards()));
}

// A throwing host operation may end the actor, as its exception policy
// says, but never the process; one that throws on the host's own thread
// ends only that piece of host work.
TEST(FaultMatrix, EveryThrowingHostOperationEndsAtMostTheActor) {
#if defined(__SANITIZE_THREAD__)
    // Each row's child starts threads after the fork, which the thread
    // sanitizer does not support; the other builds look for the crashes.
    GTEST_SKIP();
#endif
    RecordProperty("cells", RunMatrix(devhost::FaultKind::ThrowStd, {"answered", "failed", "ended"}, {}));
}

}  // namespace
}  // namespace rtest
