#pragma once

#include <string>

#include "devhost/platform/MessageValue.h"
#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace fuzz {

// The process a fuzz target runs in: the sample world, the plug-in loaded
// from its shared library and started as the viewer starts it, and a web
// client (its own actor) with a tree observer, a viewables request and an
// object of no interface of the module, whose handles inputs can pass.
// Made on first use and kept for the process; torn down, plug-in unloaded
// last, when the process exits.
class FuzzHost {
public:
    static FuzzHost& Get();

    // The client's proxy of the module.
    webapi::WebApiModule& Module();
    const du::SmartPtr<dom::ManagedObject>& ModuleObject() const;
    // The name of the module's actor, as the plug-in's component gives it.
    std::string ActorName() const;

    // Registers the client's tree observer with the module, so that tree
    // requests find a tree watcher and changes are published.
    void RegisterTreeObserver();

    // Closes an empty load group: the scene loader keeps every list that
    // arrives outside a group, and applies them all again with each later
    // one, so inputs that send lists would otherwise pile up work and memory
    // from one to the next.
    void CloseLoadGroup();

    // A handle of one kind: 0 null, 1 the module, 2 the tree observer, 3 the
    // viewables request, 4 the object of no interface, 5 an object that
    // never existed, 6 the module as known to a host that does not exist.
    // Kinds wrap around; the table is passed through as it is.
    devhost::HandleValue Handle(unsigned kind, short table) const;

    // Returns once the host worker, the module and the client are quiet;
    // ends the process with a report when the module's actor (or the
    // client's) has ended instead. Clears the trace, the host's list of
    // progress displays and its records of calls, which would otherwise grow
    // with every input.
    void SettleAndCheck();

    // Ends the process with a report: the input reached an end that the
    // module's contract does not name.
    [[noreturn]] static void Finding(const std::string& what);

    struct Parts;

private:
    FuzzHost();
    ~FuzzHost();
    Parts* parts_;
};

}  // namespace fuzz
