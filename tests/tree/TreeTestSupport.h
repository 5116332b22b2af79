#pragma once

#include <string>

#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldFile.h"
#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"
#include "tests/platform/TestActor.h"

namespace ttest {

// A managed object on an actor of its own, standing for the module as the
// owner of events.
class OwnerActor {
public:
    OwnerActor();
    // Waits until the host worker and this actor are quiet.
    void Settle();

    du::SmartPtr<dom::ManagedObject> object;

private:
    ptest::TestActor actor_;
};

// Loads a world text, failing the test with the loader's words on error.
du::SmartPtr<devhost::WorldModel> Load(const std::string& text);

// Drops world, application, displays and faults at the end of a test.
struct CleanWorld {
    ~CleanWorld();
};

}  // namespace ttest
