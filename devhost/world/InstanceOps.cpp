// The host operations of instances, trees and their visitors.

#include <string>

#include "devhost/platform/Faults.h"
#include "devhost/world/TreeModel.h"
#include "devhost/world/WorldLock.h"
#include "qxk/BaseInstanceVisitor.h"

namespace {

using devhost::InstanceNode;

// One step of a walk taken under the lock and replayed without it.
struct WalkStep {
    du::SmartPtr<qxk::BaseInstance> instance;
    unsigned int level;
    std::size_t branchEnd;  // index behind the last step of its branch (depth-first only)
};

void CollectDepthFirst(InstanceNode& start, std::vector<WalkStep>& steps) {
    struct Frame { InstanceNode* node; unsigned int level; std::size_t index; };
    std::vector<Frame> stack{{&start, 0, 0}};
    while (!stack.empty()) {
        Frame frame = stack.back();
        stack.pop_back();
        if (!frame.node) {  // end marker of a branch
            steps[frame.index].branchEnd = steps.size();
            continue;
        }
        std::size_t index = steps.size();
        steps.push_back({du::SmartPtr<qxk::BaseInstance>(frame.node), frame.level, 0});
        stack.push_back({nullptr, 0, index});
        for (auto it = frame.node->children.rbegin(); it != frame.node->children.rend(); ++it)
            stack.push_back({it->get(), frame.level + 1, 0});
    }
}

// Replays a depth-first walk; a false answer skips the branch.
void ReplayDepthFirst(const std::vector<WalkStep>& steps, qxk::BaseInstanceVisitor& visitor) {
    std::size_t i = 0;
    while (i < steps.size()) {
        if (visitor.Visit(steps[i].instance, steps[i].level))
            ++i;
        else
            i = steps[i].branchEnd;
    }
}

// A branch's depth-first walk asks the visitor before it reads a node's
// children, so a declined branch is never read: a walk of a node and its
// children under a root of a million instances costs a few nodes, not the
// million. The lock is held to read one node's children at a time, never
// while the visitor runs, as in the other walks.
void WalkBranchDepthFirst(const du::SmartPtr<InstanceNode>& start, qxk::BaseInstanceVisitor& visitor) {
    struct Level {
        std::vector<du::SmartPtr<InstanceNode>> nodes;
        std::size_t next = 0;
    };
    std::vector<Level> stack(1);
    stack.back().nodes.push_back(start);
    while (!stack.empty()) {
        if (stack.back().next == stack.back().nodes.size()) {
            stack.pop_back();
            continue;
        }
        const du::SmartPtr<InstanceNode> node = stack.back().nodes[stack.back().next++];
        if (!visitor.Visit(du::SmartPtr<qxk::BaseInstance>(node.get()), static_cast<unsigned int>(stack.size() - 1)))
            continue;
        Level children;
        {
            devhost::WorldGuard guard(devhost::WorldMutex());
            children.nodes = node->children;
        }
        if (!children.nodes.empty()) stack.push_back(std::move(children));
    }
}

// A breadth-first walk asks the visitor level by level, so it is run under
// the lock a level at a time and the visitor is called between levels.
void WalkBreadthFirst(std::vector<du::SmartPtr<InstanceNode>> level, qxk::BaseInstanceVisitor& visitor) {
    unsigned int depth = 0;
    while (!level.empty()) {
        std::vector<du::SmartPtr<InstanceNode>> accepted;
        for (const auto& node : level)
            if (visitor.Visit(du::SmartPtr<qxk::BaseInstance>(node.get()), depth)) accepted.push_back(node);
        std::vector<du::SmartPtr<InstanceNode>> next;
        {
            devhost::WorldGuard guard(devhost::WorldMutex());
            for (const auto& node : accepted)
                for (const auto& child : node->children) next.push_back(child);
        }
        level.swap(next);
        ++depth;
    }
}

}  // namespace

namespace qxk {

bool BaseInstanceVisitor::Visit(const du::SmartPtr<BaseInstance>&, unsigned int) { return true; }
BaseInstanceVisitor::~BaseInstanceVisitor() = default;

bool InstanceVisitor::Visit(const du::SmartPtr<BaseInstance>& instance, unsigned int) {
    du::SmartPtr<Instance> asInstance = du::DynamicCast<Instance>(instance);
    return asInstance ? VisitInstance(asInstance) : true;
}
InstanceVisitor::~InstanceVisitor() = default;
bool InstanceVisitor::VisitInstance(const du::SmartPtr<Instance>&) { return true; }

std::uint64_t BaseInstance::GetUniqueId() const { return devhost::Node(*this).uid; }

du::Symbol BaseInstance::GetIdPath() const {
    if (devhost::HitFault("qxk::BaseInstance::GetIdPath")) return du::Symbol();
    // The tree model and the module ask for paths by the million: one
    // buffer per thread, and the Symbol is the only allocation.
    static thread_local std::string path;
    devhost::WorldGuard guard(devhost::WorldMutex());
    devhost::Node(*this).WriteIdPath(path);
    return du::Symbol(path);
}

du::Symbol BaseInstance::GetName() const { return devhost::Node(*this).name; }

du::SmartPtr<BaseInstance> BaseInstance::GetParent() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    return devhost::Node(*this).parent;
}

void BaseInstance::GetChildren(std::vector<du::SmartPtr<BaseInstance>>& children) const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    for (const auto& child : devhost::Node(*this).children) children.emplace_back(child.get());
}

void BaseInstance::Visit(BaseInstanceVisitor& visitor, VisitType type) {
    if (devhost::HitFault("qxk::BaseInstance::Visit")) return;
    InstanceNode& self = devhost::Node(*this);
    if (type == VT_BreadthFirst) {
        WalkBreadthFirst({du::SmartPtr<InstanceNode>(&self)}, visitor);
        return;
    }
    WalkBranchDepthFirst(du::SmartPtr<InstanceNode>(&self), visitor);
}

void BaseTree::GetNumInstances(unsigned int& count) const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    count = static_cast<const devhost::TreeModel*>(this)->count;
}

void BaseTree::Visit(BaseInstanceVisitor& visitor, VisitType type) const {
    if (devhost::HitFault("qxk::BaseTree::Visit")) return;
    const auto& model = *static_cast<const devhost::TreeModel*>(this);
    std::vector<du::SmartPtr<InstanceNode>> roots;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        roots = model.roots;
    }
    if (type == VT_BreadthFirst) {
        WalkBreadthFirst(roots, visitor);
        return;
    }
    std::vector<WalkStep> steps;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        steps.reserve(model.count);
        for (const auto& root : roots)
            if (root->tree == &model) CollectDepthFirst(*root, steps);
    }
    ReplayDepthFirst(steps, visitor);
}

du::SmartPtr<Instance> Tree::FindInstance(const du::Symbol& idPath) const {
    if (devhost::HitFault("qxk::Tree::FindInstance")) return nullptr;
    devhost::WorldGuard guard(devhost::WorldMutex());
    return du::SmartPtr<Instance>(static_cast<const devhost::TreeModel*>(this)->Find(idPath.safe_c_str()));
}

void Tree::GetRoots(std::vector<du::SmartPtr<Instance>>& roots) const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    for (const auto& root : static_cast<const devhost::TreeModel*>(this)->roots) roots.emplace_back(root.get());
}

bool Instance::IsProxy() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    return devhost::Node(*this).Proxy() != nullptr;
}

bool Instance::IsProxyExpanded() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    const devhost::ProxyInfo* proxy = devhost::Node(*this).Proxy();
    return proxy && proxy->expanded;
}

bool Instance::IsExpandableProxy() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    const devhost::ProxyInfo* proxy = devhost::Node(*this).Proxy();
    return proxy && !proxy->expanded && !proxy->failed && proxy->expandable;
}

bool Instance::HasProxyExpandFailed() const {
    devhost::WorldGuard guard(devhost::WorldMutex());
    const devhost::ProxyInfo* proxy = devhost::Node(*this).Proxy();
    return proxy && proxy->failed;
}

}  // namespace qxk
