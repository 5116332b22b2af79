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
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "PluginClient.h"
#include "devhost/platform/Faults.h"

namespace rtest {
namespace {

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
[[noreturn]] void RunRow(int out, const std::string& point, devhost::FaultKind kind) {
    SampleWorldProcess world;
    auto client = std::make_unique<PluginClient>();
    for (const Method& method : Methods()) {
        if (!client->Started() || !client->Serves()) client = std::make_unique<PluginClient>();
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

Row RunRowInChild(const std::string& point, devhost::FaultKind kind) {
    int pipes[2];
    if (pipe(pipes) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        close(pipes[0]);
        RunRow(pipes[1], point, kind);
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

// Runs every row of one kind and checks each cell; returns the cells tried.
int RunMatrix(devhost::FaultKind kind, const std::set<std::string>& allowed) {
    int cells = 0;
    std::map<std::string, int> tally;
    for (const std::string& point : FaultPoints()) {
        const Row row = RunRowInChild(point, kind);
        EXPECT_EQ(row.count("(process)"), 0u) << point << ": the row's process crashed";
        for (const Method& method : Methods()) {
            const auto found = row.find(method.name);
            if (found == row.end()) continue;  // not reached: an earlier method crashed
            ++cells;
            ++tally[found->second];
            EXPECT_TRUE(allowed.count(found->second)) << point << " under " << method.name << ": " << found->second;
        }
    }
    std::string summary;
    for (const auto& [outcome, count] : tally) summary += outcome + "=" + std::to_string(count) + " ";
    std::printf("%d cells: %s\n", cells, summary.c_str());
    return cells;
}

// A host operation that gives null or false is a state the host can be in:
// the module takes its silent paths and serves on.
TEST(FaultMatrix, EveryFailingHostOperationLeavesTheModuleServing) {
    RecordProperty("cells", RunMatrix(devhost::FaultKind::Fail, {"answered", "failed"}));
}

// A throwing host operation may end the actor, as its exception policy
// says, but never the process.
TEST(FaultMatrix, EveryThrowingHostOperationEndsAtMostTheActor) {
    RecordProperty("cells", RunMatrix(devhost::FaultKind::ThrowStd, {"answered", "failed", "ended"}));
}

}  // namespace
}  // namespace rtest
