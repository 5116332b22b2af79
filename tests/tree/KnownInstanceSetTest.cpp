#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "du/StringUtil.h"
#include "publisher/KnownInstanceSet.h"
#include "publisher/Remainder.h"

namespace {

// Addresses stand for instances; the set never reads through them.
const qxk::BaseInstance* At(std::uintptr_t address) { return reinterpret_cast<const qxk::BaseInstance*>(address); }

TEST(KnownInstanceSet, GrowsByTheHostsPrimesAndKeepsEveryMemberFindable) {
    webapi::KnownInstanceSet set;
    EXPECT_EQ(set.BucketCount(), du::HashNextPrime(0));
    const std::size_t first = set.BucketCount();
    // Pointers that share buckets before and after growth.
    std::vector<const qxk::BaseInstance*> members;
    for (std::uintptr_t i = 1; i <= 400; ++i) members.push_back(At(0x1000 + 4 * first * (i % 7) + 4 * i));
    for (const auto* member : members) {
        set.Reserve(set.Size() + 1);
        EXPECT_TRUE(set.Insert(member));
    }
    EXPECT_EQ(set.Size(), 400u);
    EXPECT_EQ(set.BucketCount(), du::HashNextPrime(first + 1 > 400 ? first + 1 : 400));
    for (const auto* member : members) EXPECT_TRUE(set.Contains(member));
    EXPECT_FALSE(set.Insert(members[17])) << "a pointer is held once";
    EXPECT_FALSE(set.Contains(At(0x8)));

    // Erasing every other member, then all, leaves the rest findable.
    for (std::size_t i = 0; i < members.size(); i += 2) EXPECT_TRUE(set.Erase(members[i]));
    EXPECT_FALSE(set.Erase(members[0]));
    for (std::size_t i = 0; i < members.size(); ++i) EXPECT_EQ(set.Contains(members[i]), i % 2 == 1) << i;
    for (std::size_t i = 1; i < members.size(); i += 2) EXPECT_TRUE(set.Erase(members[i]));
    EXPECT_EQ(set.Size(), 0u);
    EXPECT_TRUE(set.Insert(members[3]));
    EXPECT_TRUE(set.Contains(members[3]));
}

TEST(KnownInstanceSet, GrowsOnlyWhenAskedForMoreThanItHas) {
    webapi::KnownInstanceSet set;
    const std::size_t first = set.BucketCount();
    set.Reserve(first);
    EXPECT_EQ(set.BucketCount(), first);
    set.Reserve(first + 1);
    EXPECT_EQ(set.BucketCount(), du::HashNextPrime(first + 1));
}

TEST(KnownInstanceSet, BucketsByAMultiplicationAgreeWithTheDivisionsRemainder) {
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
    // Every bucket count the host gives, and the divisors where the fixed
    // point is tightest.
    std::vector<std::uint64_t> divisors{1, 2, 3, 7, 1ull << 32, (1ull << 63) + 1, kMax - 1, kMax};
    for (unsigned long n = 0;; n = du::HashNextPrime(n) + 1) {
        divisors.push_back(du::HashNextPrime(n));
        if (du::HashNextPrime(n) == du::HashNextPrime(du::HashNextPrime(n) + 1)) break;
    }
    std::mt19937_64 random(23);
    for (const std::uint64_t divisor : divisors) {
        const webapi::Remainder remainder(divisor);
        std::vector<std::uint64_t> values{0, 1, divisor - 1, divisor, kMax, kMax - 1, kMax / divisor * divisor};
        if (divisor < kMax) values.push_back(divisor + 1);
        for (int i = 0; i < 2000; ++i) values.push_back(random() >> (i % 64));
        for (const std::uint64_t value : values) ASSERT_EQ(remainder.Of(value), value % divisor) << value << " % " << divisor;
    }
}

}  // namespace
