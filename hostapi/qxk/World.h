#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxk {

class Tree;
class Window;
class MultiRootContainer;
class AnnoSetTable;

// The viewer's world: the structure and everything shown of it.
class World : public virtual du::RefCounted {
public:
    // The world of the process, or null while there is none.
    static du::SmartPtr<World> GetWorld();

    du::Symbol GetActorName() const;
    // The world's annotation sets, or null when it has none.
    du::SmartPtr<AnnoSetTable> GetAnnoSetTable();

    // Fixed for the life of the world.
    const du::SmartPtr<Tree> tree;
    const du::SmartPtr<Window> window;
    const du::SmartPtr<MultiRootContainer> rootContainer;

protected:
    World(const du::SmartPtr<Tree>& worldTree, const du::SmartPtr<Window>& worldWindow,
          const du::SmartPtr<MultiRootContainer>& container);
    ~World() override;
};

}  // namespace qxk
