#include <gtest/gtest.h>

#include <stdexcept>

#include "devhost/platform/Faults.h"

namespace {

// A fault that passes over its first hits lets one call among several of the
// same operation fail; skipped hits do not use up its count.
TEST(Faults, SkippedHitsPassThenTheFaultActsForItsCount) {
    devhost::ArmFault("test::Point", {devhost::FaultKind::Fail, "", 2, 3});
    const bool expected[] = {false, false, false, true, true, false, false};
    for (const bool fails : expected) EXPECT_EQ(devhost::HitFault("test::Point"), fails);
    devhost::DisarmAllFaults();
}

TEST(Faults, SkippingFaultThatThrowsThrowsOnlyAfterItsSkips) {
    devhost::ArmFault("test::Point", {devhost::FaultKind::ThrowStd, "late", -1, 1});
    EXPECT_FALSE(devhost::HitFault("test::Point"));
    EXPECT_THROW(devhost::HitFault("test::Point"), std::runtime_error);
    EXPECT_THROW(devhost::HitFault("test::Point"), std::runtime_error);
    EXPECT_FALSE(devhost::HitFault("test::Other"));
    devhost::DisarmAllFaults();
}

}  // namespace
