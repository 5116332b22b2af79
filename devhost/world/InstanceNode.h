#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "devhost/world/NodeSlots.h"
#include "devhost/world/PlacePool.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/Instance.h"

namespace devhost {

class TreeModel;

// What a proxy does when it is asked to read its branch.
enum class ProxyOutcome {
    Expand,  // the branch comes into the tree
    Fail,    // the read fails; the proxy is marked failed
    Never    // the read never answers on its own
};

// How a proxy stands before anything asks it to read: unread (it can be
// read), read already, failed already, or unread and not readable at all.
enum class ProxyStart { Unread, Expanded, Failed, Unexpandable };

// Whether a read finishes by itself (on the host's worker thread) or waits
// until a test releases it.
enum class ProxyCompletion { Auto, Manual };

struct ProxyInfo {
    ProxyOutcome outcome = ProxyOutcome::Expand;
    ProxyCompletion completion = ProxyCompletion::Auto;
    bool expanded = false;
    bool failed = false;
    bool expandable = true;  // false: it can never be read
    bool reading = false;
    // The unread branch: instances that join the tree on a successful read.
    std::vector<du::SmartPtr<class InstanceNode>> branch;
};

// What few instances carry: a proxy's state, an override's value and the
// idpath an orphan keeps.
struct InstanceExtras {
    std::unique_ptr<ProxyInfo> proxy;
    int visibilityOverride = 0;  // any value, forced on the tree's visibility state
    std::string formerPath;      // the idpath it had, once it has no parent any more
};

// An instance of the devhost's structure. Everything in it is guarded by
// the world lock. Instances of an unread branch already have their parent
// (the proxy), so their idpath is valid, but belong to no tree. A parent
// holds its children, not the other way round: an instance that loses its
// parent (taken out of the tree, or outliving it) keeps the idpath it had.
//
// Every pass over the structure (walks, scene tables, the tree model's
// counts, the publisher's look-ups) reads an instance's table pointer at
// its start and, through every counted pointer, the reference count at its
// end; what most instances never use lives out of line, so that the whole
// instance fits one place of a PlacePool: two cache lines fetched as a pair.
class InstanceNode : public qxk::Instance {
public:
    InstanceNode(std::uint64_t uid, const du::Symbol& name) : uid(uid), name(name), slot(AcquireNodeSlot()) {}
    ~InstanceNode() override;

    static void* operator new(std::size_t size) { return InstancePlaces().Allocate(size); }
    static void operator delete(void* memory) noexcept { InstancePlaces().Free(memory); }

    const std::uint64_t uid;
    const du::Symbol name;
    const std::uint32_t slot;  // see NodeSlots.h
    bool overridden = false;   // the extras' visibilityOverride stands for the rule
    // Whether the scene of `counted` shows the node, -1 while not looked up:
    // part of the counts below and good while they are, kept here, where it
    // fits beside the slot.
    mutable signed char shown = -1;
    InstanceNode* parent = nullptr;
    std::vector<du::SmartPtr<InstanceNode>> children;
    TreeModel* tree = nullptr;  // null while unread or after removal

    // How many nodes the branch below holds and how many of them a scene
    // shows, as the visibility rule last counted them: good while the
    // world's generation and the scene are the ones it names.
    struct BranchCounts {
        std::uint64_t generation = 0;
        const void* scene = nullptr;
        std::uint32_t total = 0;  // a branch of 2^32 instances would not fit in memory
        std::uint32_t visible = 0;
    };
    mutable BranchCounts counted;  // under the world lock
    du::SmartPtr<du::RefCounted> extension;  // state that other host parts attach

    // Null for an ordinary instance.
    ProxyInfo* Proxy() const { return extras ? extras->proxy.get() : nullptr; }
    // The proxy's state while its branch is unread, else null.
    ProxyInfo* UnreadProxy() const {
        ProxyInfo* info = Proxy();
        return info && !info->expanded ? info : nullptr;
    }
    const InstanceExtras* Extras() const { return extras.get(); }
    // Made on first use.
    InstanceExtras& Extras();

    std::string IdPath() const;  // under the world lock
    // The idpath into path, reusing its room. Under the world lock.
    void WriteIdPath(std::string& path) const;
    // Lets go of the parent, keeping the idpath. Under the world lock.
    void LeaveParent();

private:
    std::unique_ptr<InstanceExtras> extras;
};
static_assert(sizeof(InstanceNode) <= PlacePool::kPlace, "an instance fits its place");

inline InstanceNode& Node(qxk::BaseInstance& instance) { return static_cast<InstanceNode&>(instance); }
inline const InstanceNode& Node(const qxk::BaseInstance& instance) {
    return static_cast<const InstanceNode&>(instance);
}

// Fresh instance ids come from one counter of the process; explicit ids
// move it on.
std::uint64_t NextInstanceId();
void ReserveInstanceId(std::uint64_t id);

}  // namespace devhost
