#pragma once

#include <set>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/BaseInstance.h"

namespace qxk {

class AsyncEvent;
class IdMap;
class ComponentNode;
class Anchor;

// An instance of the product structure. A proxy stands for a branch that has
// not been read yet; ExpandProxy reads it.
class Instance : public BaseInstance {
public:
    static constexpr ClassType CLASS_TYPE{0x03};

    bool IsProxy() const;
    bool IsProxyExpanded() const;
    bool IsExpandableProxy() const;
    bool HasProxyExpandFailed() const;

    // Reads unread branches. On a proxy that is not expanded it reads the
    // proxy's branch; on any other instance it reads the unexpanded proxies
    // of its branch that have no unexpanded proxy above them. depth is how
    // many levels of proxies one call reads (1: the branch, not the proxies
    // inside it). The event completes with status 0 once the instances are
    // in the tree, or with a non-zero status when a read failed or there was
    // nothing to read. oldIds and newIds may map the ids of an earlier
    // reading; loadedPaths, when given, receives the idpaths that came into
    // being before the event completes, and is not to be touched until then.
    // The event completes once in every case; the result is false when no
    // read was started. The read holds no reference to the event: its maker
    // keeps it (an actor keeps the events placed under it), and an event that
    // has gone when the read ends is told nothing.
    bool ExpandProxy(int depth, AsyncEvent* event, const du::SmartPtr<IdMap>& oldIds,
                     const du::SmartPtr<IdMap>& newIds, std::set<du::Symbol>* loadedPaths,
                     bool reread, bool quiet);

    void GetComponentNode(du::SmartPtr<ComponentNode>& node) const;
    void GetAnchor(du::SmartPtr<Anchor>& anchor) const;

protected:
    Instance() = default;
    ~Instance() override = default;
    bool IsOfClass(unsigned int number) const override {
        return number == CLASS_TYPE.GetNumber() || BaseInstance::IsOfClass(number);
    }
};

}  // namespace qxk
