#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxk {

// The viewer's world: the structure and everything shown of it.
class World : public virtual du::RefCounted {
public:
    // The world of the process, or null while there is none.
    static du::SmartPtr<World> GetWorld();

    du::Symbol GetActorName() const;

protected:
    World();
    ~World() override;
};

}  // namespace qxk
