#include "tree/LoadEvents.h"

#include "tree/GuiTreeWatcher.h"

LoadBranchLinkEvent::LoadBranchLinkEvent(GuiTreeWatcher* owner, qxk::BaseInstance* instance)
    : qxk::BaseAsyncEvent(true), owner(owner), instance(instance) {}

LoadBranchLinkEvent::LoadBranchLinkEvent(GuiTreeWatcher* owner, std::set<du::Symbol> paths)
    : qxk::BaseAsyncEvent(true), owner(owner), paths(std::move(paths)) {}

LoadBranchLinkEvent::~LoadBranchLinkEvent() = default;

void LoadBranchLinkEvent::OnComplete(int status) {
    if (!owner) return;
    {
        // The module's management keeps this event for the rest of the call.
        du::SmartPtr<LoadBranchLinkEvent> self(this);
        owner->RemovePendingLoadEvent(self);
    }
    if (status != 0) return;
    if (!paths.empty())
        owner->LoadInstancePaths(paths);
    else
        owner->ShowInstanceBranch(instance.get());
}

ExpandProxyEventSet::ExpandProxyEventSet(du::SmartPtr<qxk::AsyncEvent> completionEvent)
    : completionEvent(completionEvent) {}

ExpandProxyEventSet::~ExpandProxyEventSet() = default;

void ExpandProxyEventSet::OnAllEventsComplete() {
    if (!completionEvent) return;
    completionEvent->Complete();
    completionEvent = nullptr;
}
