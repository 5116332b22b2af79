#pragma once

#include "du/RefCounted.h"
#include "du/Symbol.h"

namespace qxk {

// What a module hands to the host's loader for a component: the name of the
// actor that answers for it. It holds no reference to the module itself; the
// host reaches the actor by that name through the messaging layer.
class ActiveModule : public du::RefCounted {
public:
    ActiveModule() = default;
    // Defined in the host's library, which so holds the class's virtual
    // table: a loader may keep the object after the module is unloaded.
    ~ActiveModule() override;

    const du::Symbol& GetActorName() const { return actorName; }
    void SetActorName(const du::Symbol& name) { actorName = name; }

private:
    du::Symbol actorName;
};

}  // namespace qxk
