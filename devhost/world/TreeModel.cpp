#include "devhost/world/TreeModel.h"

#include <algorithm>
#include <string_view>

#include "devhost/world/WorldLock.h"

namespace devhost {

namespace {

// Names are never null Symbols (they are made from text), so a view of the
// text tells them apart as the Symbols would.
std::string_view NameOf(const InstanceNode& node) { return std::string_view(node.name.safe_c_str(), node.name.length()); }

}  // namespace

TreeModel::TreeModel() = default;
TreeModel::~TreeModel() {
    // Instances may outlive their tree; they then belong to none.
    WorldGuard guard(WorldMutex());
    std::vector<InstanceNode*> stack;
    for (const auto& root : roots) stack.push_back(root.get());
    while (!stack.empty()) {
        InstanceNode* node = stack.back();
        stack.pop_back();
        node->tree = nullptr;
        for (const auto& child : node->children) stack.push_back(child.get());
    }
}

std::size_t TreeModel::KeyHash::operator()(const Key& key) const {
    std::size_t h = std::hash<std::string_view>()(key.name);
    return h ^ (std::hash<const void*>()(key.parent) * 0x9e3779b97f4a7c15ull);
}

void TreeModel::Index(InstanceNode& node, TreeChange* change) {
    NextWorldGeneration();
    // Iterative, so that deep structures do not use up an actor's stack.
    std::vector<InstanceNode*> stack{&node};
    while (!stack.empty()) {
        InstanceNode* current = stack.back();
        stack.pop_back();
        current->tree = this;
        index_.emplace(Key{current->parent, NameOf(*current)}, current);
        ++count;
        if (change) change->added.emplace_back(current);
        for (auto it = current->children.rbegin(); it != current->children.rend(); ++it) stack.push_back(it->get());
    }
}

void TreeModel::Unindex(InstanceNode& node, TreeChange& change) {
    NextWorldGeneration();
    std::vector<InstanceNode*> stack{&node};
    while (!stack.empty()) {
        InstanceNode* current = stack.back();
        stack.pop_back();
        current->tree = nullptr;
        index_.erase(Key{current->parent, NameOf(*current)});
        --count;
        change.removed.emplace_back(current);
        change.removedParents.emplace_back(current->parent);
        for (auto it = current->children.rbegin(); it != current->children.rend(); ++it) stack.push_back(it->get());
    }
}

bool TreeModel::Attach(InstanceNode* parent, const du::SmartPtr<InstanceNode>& node, TreeChange* change) {
    if (Child(parent, NameOf(*node))) return false;
    node->parent = parent;
    if (parent)
        parent->children.push_back(node);
    else
        roots.push_back(node);
    Index(*node, change);
    return true;
}

void TreeModel::AttachBranch(InstanceNode& proxy, TreeChange& change) {
    std::vector<du::SmartPtr<InstanceNode>> branch;
    branch.swap(proxy.Proxy()->branch);
    for (const auto& node : branch) Attach(&proxy, node, &change);
}

void TreeModel::Detach(InstanceNode& node, TreeChange& change) {
    Unindex(node, change);
    auto& siblings = node.parent ? node.parent->children : roots;
    auto it = std::find_if(siblings.begin(), siblings.end(), [&](const auto& p) { return p.get() == &node; });
    if (it != siblings.end()) siblings.erase(it);
    node.LeaveParent();
}

InstanceNode* TreeModel::Child(const InstanceNode* parent, std::string_view name) const {
    auto it = index_.find(Key{parent, name});
    return it == index_.end() ? nullptr : it->second;
}

InstanceNode* TreeModel::Find(std::string_view idPath) const {
    if (idPath.empty()) return nullptr;
    const InstanceNode* current = nullptr;
    std::size_t start = 0;
    for (;;) {
        std::size_t slash = idPath.find('/', start);
        std::size_t end = slash == std::string_view::npos ? idPath.size() : slash;
        InstanceNode* next = Child(current, std::string_view(idPath.data() + start, end - start));
        if (!next) return nullptr;
        if (slash == std::string_view::npos) return next;
        current = next;
        start = slash + 1;
    }
}

int TreeModel::AddListener(TreeListener listener) {
    WorldGuard guard(WorldMutex());
    listeners_.emplace_back(nextListener_, std::move(listener));
    return nextListener_++;
}

void TreeModel::RemoveListener(int id) {
    WorldGuard guard(WorldMutex());
    listeners_.erase(std::remove_if(listeners_.begin(), listeners_.end(), [id](const auto& l) { return l.first == id; }),
                     listeners_.end());
}

void TreeModel::NotifyTree(const TreeChange& change) {
    std::vector<TreeListener> listeners;
    {
        WorldGuard guard(WorldMutex());
        for (const auto& l : listeners_) listeners.push_back(l.second);
    }
    for (const auto& listener : listeners) listener(change);
}

}  // namespace devhost
