#pragma once

#include <set>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/AsyncEvent.h"
#include "qxk/AsyncEventSet.h"
#include "qxk/BaseInstance.h"

class GuiTreeWatcher;

// Carries a load on once the proxy reads it waits for have completed: it
// loads its paths again, or shows its instance's branch.
class LoadBranchLinkEvent : public qxk::AsyncEvent {
public:
    LoadBranchLinkEvent(GuiTreeWatcher* owner, qxk::BaseInstance* instance);
    LoadBranchLinkEvent(GuiTreeWatcher* owner, std::set<du::Symbol> paths);
    ~LoadBranchLinkEvent() override;

    void OnComplete(int status) override;

    // The watcher is going: a completion that comes later does nothing. It
    // still completes, and so leaves the module's management.
    void Detach() { owner = nullptr; }

private:
    GuiTreeWatcher* owner;  // plain; cleared by Detach before the watcher goes
    // Counted, unlike the watcher's map: the event may complete after the
    // tree has let go of the instance, which then must still be there.
    du::SmartPtr<qxk::BaseInstance> instance;
    std::set<du::Symbol> paths;  // empty for the single-instance form
};

// The proxy reads of one load step; completes the load event once all of
// them have completed.
class ExpandProxyEventSet : public qxk::AsyncEventSet {
public:
    explicit ExpandProxyEventSet(du::SmartPtr<qxk::AsyncEvent> completionEvent);
    ~ExpandProxyEventSet() override;

    void OnAllEventsComplete() override;

private:
    du::SmartPtr<qxk::AsyncEvent> completionEvent;
};
