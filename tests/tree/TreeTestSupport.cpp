#include "TreeTestSupport.h"

#include <gtest/gtest.h>

#include "devhost/platform/Faults.h"
#include "devhost/world/Settle.h"

namespace ttest {

namespace {

class OwnerObject : public dom::ManagedObject {};

}  // namespace

OwnerActor::OwnerActor() : object(new OwnerObject()), actor_(object, "tree-test-owner") { actor_.Start(); }

void OwnerActor::Settle() { devhost::Settle({object}); }

du::SmartPtr<devhost::WorldModel> Load(const std::string& text) {
    try {
        return devhost::LoadWorldText(text);
    } catch (const devhost::WorldFileError& e) {
        ADD_FAILURE() << e.what();
        return nullptr;
    }
}

CleanWorld::~CleanWorld() {
    devhost::Settle({});
    devhost::DisarmAllFaults();
    devhost::DropApplication();
    devhost::DropWorld();
    devhost::ClearProgressDisplays();
}

}  // namespace ttest
