#include "devhost/world/Expansion.h"

#include <map>
#include <memory>

#include "devhost/platform/ActorTasks.h"
#include "devhost/platform/CountedIfAlive.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/WorldLock.h"
#include "devhost/world/WorldModel.h"

namespace devhost {

namespace {

struct Waiter {
    std::shared_ptr<Expansion> expansion;
    int depthLeft;
};

// Waiters of a proxy, kept beside the proxy so that ProxyInfo stays simple.
std::vector<Waiter>& WaitersOf(InstanceNode& proxy);

void Resolve(const du::SmartPtr<InstanceNode>& proxy, bool success);

bool Readable(const InstanceNode& node) {
    const ProxyInfo* info = node.Proxy();
    return info && !info->expanded && !info->failed && info->expandable;
}

// Makes expansion wait for proxy and starts the read unless one runs.
// Under the world lock; automatic reads are handed to the worker.
void Enlist(InstanceNode& proxy, const std::shared_ptr<Expansion>& expansion, int depthLeft) {
    WaitersOf(proxy).push_back({expansion, depthLeft});
    ++expansion->outstanding;
    ProxyInfo& info = *proxy.Proxy();
    if (info.reading) return;
    info.reading = true;
    if (info.completion == ProxyCompletion::Auto && info.outcome != ProxyOutcome::Never) {
        du::SmartPtr<InstanceNode> target(&proxy);
        bool success = info.outcome == ProxyOutcome::Expand;
        RunOnHostWorker([target, success] { Resolve(target, success); });
    }
}

// The readable proxies at the top of a branch: the instance itself, or the
// first readable proxies below it.
void TopProxies(InstanceNode& start, std::vector<InstanceNode*>& found) {
    std::vector<InstanceNode*> stack{&start};
    while (!stack.empty()) {
        InstanceNode* node = stack.back();
        stack.pop_back();
        if (Readable(*node)) {
            found.push_back(node);
            continue;
        }
        for (const auto& child : node->children) stack.push_back(child.get());
    }
}

// Proxies being read, each kept alive with its waiters until its read ends,
// as the host's reading job would hold it.
struct Reading {
    du::SmartPtr<InstanceNode> proxy;
    std::vector<Waiter> waiters;
};

std::map<InstanceNode*, Reading>& AllWaiters() {
    static std::map<InstanceNode*, Reading> readings;
    return readings;
}

std::vector<Waiter>& WaitersOf(InstanceNode& proxy) {
    Reading& reading = AllWaiters()[&proxy];
    reading.proxy = &proxy;
    return reading.waiters;
}

void Finish(const std::shared_ptr<Expansion>& expansion) {
    auto event = du::DynamicCast<qxk::BaseAsyncEvent>(FindLiveObject(expansion->eventId));
    if (!event) return;
    if (expansion->failed)
        event->CompleteWithError(qxk::BaseAsyncEvent::ES_Failed);
    else
        event->Complete();
}

void Resolve(const du::SmartPtr<InstanceNode>& proxy, bool success) {
    TreeChange change;
    du::SmartPtr<TreeModel> tree;
    std::vector<std::shared_ptr<Expansion>> finished;
    {
        WorldGuard guard(WorldMutex());
        ProxyInfo& info = *proxy->Proxy();
        if (!info.reading) return;
        info.reading = false;
        tree = CountedIfAlive(proxy->tree);  // not one on its way out
        if (success) {
            info.expanded = true;
            if (tree) {
                tree->AttachBranch(*proxy, change);
            } else {  // a proxy taken out of the tree meanwhile keeps its branch to itself
                for (auto& node : info.branch) proxy->children.push_back(node);
                info.branch.clear();
                NextWorldGeneration();
            }
        } else {
            info.failed = true;
        }
        std::vector<Waiter> waiters;
        auto reading = AllWaiters().find(proxy.get());
        if (reading != AllWaiters().end()) {
            waiters.swap(reading->second.waiters);
            AllWaiters().erase(reading);
        }
        for (const Waiter& waiter : waiters) {
            Expansion& expansion = *waiter.expansion;
            expansion.failed = expansion.failed || !success;
            if (success && expansion.loadedPaths)
                for (const auto& node : change.added) expansion.loadedPaths->insert(du::Symbol(node->IdPath()));
            if (success && waiter.depthLeft > 1)
                for (const auto& node : change.added)
                    if (Readable(*node) && node->parent == proxy.get())
                        Enlist(*node, waiter.expansion, waiter.depthLeft - 1);
            if (--expansion.outstanding == 0) finished.push_back(waiter.expansion);
        }
    }
    if (tree && (!change.added.empty())) tree->NotifyTree(change);
    for (const auto& expansion : finished) Finish(expansion);
}

// Reads of proxies that have left their tree, or whose world has gone, can
// bring nothing into a tree: they are forgotten, as never answering.
void PendingProxies(std::vector<du::SmartPtr<InstanceNode>>& pending) {
    auto& all = AllWaiters();
    for (auto it = all.begin(); it != all.end();) {
        if (!it->first->tree) {
            it->first->Proxy()->reading = false;
            it = all.erase(it);
            continue;
        }
        pending.push_back(it->second.proxy);
        ++it;
    }
}

}  // namespace

std::vector<std::string> PendingExpansions() {
    WorldGuard guard(WorldMutex());
    std::vector<du::SmartPtr<InstanceNode>> pending;
    PendingProxies(pending);
    std::vector<std::string> paths;
    for (const auto& node : pending) paths.push_back(node->IdPath());
    return paths;
}

bool ResolvePendingExpansion(const std::string& idPath, bool success) {
    du::SmartPtr<InstanceNode> target;
    {
        WorldGuard guard(WorldMutex());
        std::vector<du::SmartPtr<InstanceNode>> pending;
        PendingProxies(pending);
        for (const auto& node : pending)
            if (node->IdPath() == idPath) target = node;
    }
    if (!target) return false;
    Resolve(target, success);
    return true;
}

int ReleasePendingExpansions() {
    std::vector<std::pair<du::SmartPtr<InstanceNode>, bool>> targets;
    {
        WorldGuard guard(WorldMutex());
        std::vector<du::SmartPtr<InstanceNode>> pending;
        PendingProxies(pending);
        for (const auto& node : pending) {
            const ProxyInfo& info = *node->Proxy();
            if (info.completion == ProxyCompletion::Manual && info.outcome != ProxyOutcome::Never)
                targets.emplace_back(node, info.outcome == ProxyOutcome::Expand);
        }
    }
    for (const auto& target : targets) Resolve(target.first, target.second);
    return static_cast<int>(targets.size());
}

}  // namespace devhost

bool qxk::Instance::ExpandProxy(int depth, AsyncEvent* event, const du::SmartPtr<IdMap>&,
                                const du::SmartPtr<IdMap>&, std::set<du::Symbol>* loadedPaths, bool, bool) {
    if (devhost::HitFault("qxk::Instance::ExpandProxy")) {
        // A read that cannot start still ends its event, as every call does.
        if (event) event->CompleteWithError(BaseAsyncEvent::ES_Failed);
        return false;
    }
    auto expansion = std::make_shared<devhost::Expansion>();
    if (event) expansion->eventId = devhost::ObjectIdOf(*event);
    expansion->loadedPaths = loadedPaths;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        std::vector<devhost::InstanceNode*> proxies;
        devhost::TopProxies(devhost::Node(*this), proxies);
        for (devhost::InstanceNode* proxy : proxies) devhost::Enlist(*proxy, expansion, depth < 1 ? 1 : depth);
        // Reads may finish on the worker as soon as the lock is released.
        if (!proxies.empty()) return true;
        // Nothing to read: a failed proxy, or a branch with no unread part.
        expansion->failed = true;
    }
    devhost::Finish(expansion);
    return false;
}
