#include <gtest/gtest.h>

#include "du/CommonAllocated.h"
#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "devhost/platform/CountedIfAlive.h"
#include "devhost/platform/Faults.h"

namespace {

struct Tracked : du::RefCounted {
    explicit Tracked(int* deaths) : deaths(deaths) {}
    ~Tracked() override { ++*deaths; }
    int* deaths;
};

// Parks itself in a keeper the first time its count reaches zero.
struct Parking : du::RefCounted {
    Parking(int* deaths, int* hooks, du::SmartPtr<Parking>* keeper) : deaths(deaths), hooks(hooks), keeper(keeper) {}
    ~Parking() override { ++*deaths; }
    bool ZeroReferenceCountHook() override {
        if (++*hooks == 1) *keeper = this;
        return true;
    }
    int* deaths;
    int* hooks;
    du::SmartPtr<Parking>* keeper;
};

// Keeps the hook's temporary reference for itself by answering false.
struct Immortal : du::RefCounted {
    bool ZeroReferenceCountHook() override { return false; }
};

// Looks itself up through a plain pointer while it is being destroyed, as a
// reader holding a back pointer might at that moment.
struct Dying : du::RefCounted {
    explicit Dying(bool* revived) : revived(revived) {}
    ~Dying() override { *revived = static_cast<bool>(devhost::CountedIfAlive(this)); }
    bool* revived;
};

}  // namespace

TEST(RefCounted, RemoveReferenceReturnsNewCountAndFreesAtZero) {
    int deaths = 0;
    Tracked* object = new Tracked(&deaths);
    int owner = 0;
    object->AddReference(&owner);
    object->AddReference(&owner);
    EXPECT_EQ(object->GetReferenceCount(), 2);
    EXPECT_EQ(object->RemoveReference(&owner), 1);
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(object->RemoveReference(&owner), 0);
    EXPECT_EQ(deaths, 1);
}

TEST(RefCounted, HookThatTakesAReferenceKeepsTheObject) {
    int deaths = 0, hooks = 0;
    du::SmartPtr<Parking> keeper;
    {
        du::SmartPtr<Parking> p(new Parking(&deaths, &hooks, &keeper));
    }
    EXPECT_EQ(hooks, 1);
    EXPECT_EQ(deaths, 0);
    ASSERT_TRUE(keeper);
    EXPECT_EQ(keeper->GetReferenceCount(), 1);
    keeper.reset();
    EXPECT_EQ(hooks, 2);
    EXPECT_EQ(deaths, 1);
}

TEST(RefCounted, HookAnsweringFalseKeepsTheTemporaryReference) {
    Immortal* object = new Immortal;
    { du::SmartPtr<Immortal> p(object); }
    EXPECT_EQ(object->GetReferenceCount(), 1);
    delete object;
}

TEST(SmartPtr, AssignmentReleasesTheOldObjectAndSelfAssignmentIsSafe) {
    int deaths = 0;
    du::SmartPtr<Tracked> a(new Tracked(&deaths));
    du::SmartPtr<Tracked> b(new Tracked(&deaths));
    a = b;
    EXPECT_EQ(deaths, 1);
    du::SmartPtr<Tracked>& same = a;
    a = same;
    EXPECT_EQ(a->GetReferenceCount(), 2);
    du::ConstSmartPtr<Tracked> c(a);
    a.reset();
    b.reset();
    EXPECT_EQ(deaths, 1);
    c.reset();
    EXPECT_EQ(deaths, 2);
}

TEST(CommonAllocator, ArmedFaultGivesNullAndNewThrows) {
    struct Block : du::CommonAllocated {
        int value = 0;
    };
    devhost::ArmFault("du::CommonAllocatorImpl::Allocate", {devhost::FaultKind::Fail, "", 2});
    EXPECT_EQ(du::CommonAllocatorImpl::Allocate(16), nullptr);
    EXPECT_THROW(new Block, std::bad_alloc);
    void* memory = du::CommonAllocatorImpl::Allocate(16);
    EXPECT_NE(memory, nullptr);
    du::CommonAllocatorImpl::Free(memory);

    devhost::ArmFault("du::CommonAllocatorImpl::Allocate", {devhost::FaultKind::ThrowStd, "x", -1});
    EXPECT_EQ(du::CommonAllocatorImpl::Allocate(16), nullptr);
    devhost::DisarmAllFaults();
    delete new Block;
}

TEST(RefCounted, AReferenceIfAliveIsTakenOnlyWhileCounted) {
    int deaths = 0;
    du::SmartPtr<Tracked> held(new Tracked(&deaths));
    EXPECT_EQ(devhost::CountedIfAlive(held.get()), held);
    EXPECT_EQ(held->GetReferenceCount(), 1);

    Tracked* uncounted = new Tracked(&deaths);
    int owner = 0;
    EXPECT_FALSE(uncounted->AddReferenceIfAlive(&owner));
    EXPECT_EQ(uncounted->GetReferenceCount(), 0);
    delete uncounted;

    bool revived = true;
    { du::SmartPtr<Dying> last(new Dying(&revived)); }
    EXPECT_FALSE(revived);
}
