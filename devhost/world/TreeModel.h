#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "devhost/world/InstanceNode.h"
#include "qxk/Tree.h"

namespace devhost {

// A change of a tree: instances that left it and instances that came into
// it, each branch in parent-before-child order. cleared: the tree is gone.
struct TreeChange {
    std::vector<du::SmartPtr<InstanceNode>> removed;
    std::vector<du::SmartPtr<InstanceNode>> removedParents;  // the parent each had, null for a root
    std::vector<du::SmartPtr<InstanceNode>> added;
    bool cleared = false;
};

using TreeListener = std::function<void(const TreeChange&)>;

// The world's tree: roots, an index by (parent, name) for FindInstance, and
// listeners of its changes. Guarded by the world lock; listeners are called
// by NotifyTree with the lock released.
class TreeModel : public qxk::Tree {
public:
    TreeModel();
    ~TreeModel() override;

    std::vector<du::SmartPtr<InstanceNode>> roots;
    unsigned int count = 0;

    // Puts a branch into the tree under parent (null: as a root) and appends
    // its instances to change->added when given. False when the name is taken.
    bool Attach(InstanceNode* parent, const du::SmartPtr<InstanceNode>& node, TreeChange* change);
    // Reads a proxy's branch into the tree.
    void AttachBranch(InstanceNode& proxy, TreeChange& change);
    // Takes a branch out of the tree; its instances go to change.removed.
    void Detach(InstanceNode& node, TreeChange& change);
    InstanceNode* Child(const InstanceNode* parent, std::string_view name) const;
    InstanceNode* Find(std::string_view idPath) const;

    int AddListener(TreeListener listener);
    void RemoveListener(int id);
    // Calls the listeners; the caller holds no world lock.
    void NotifyTree(const TreeChange& change);

private:
    // The name is a view of the instance's own name while it is indexed, and
    // of the caller's text while it is looked up, so finding an idpath
    // makes no string per segment.
    struct Key {
        const InstanceNode* parent;
        std::string_view name;
        bool operator==(const Key& other) const { return parent == other.parent && name == other.name; }
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const;
    };
    void Index(InstanceNode& node, TreeChange* change);
    void Unindex(InstanceNode& node, TreeChange& change);

    std::unordered_map<Key, InstanceNode*, KeyHash> index_;
    std::vector<std::pair<int, TreeListener>> listeners_;
    int nextListener_ = 1;
};

}  // namespace devhost
