#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "du/Symbol.h"

TEST(Symbol, NullDiffersFromEmpty) {
    du::Symbol null;
    EXPECT_TRUE(null.IsNull());
    EXPECT_FALSE(du::Symbol::EMPTY.IsNull());
    EXPECT_NE(null, du::Symbol::EMPTY);
    EXPECT_TRUE(null.empty());
    EXPECT_TRUE(du::Symbol::EMPTY.empty());
    EXPECT_STREQ(null.safe_c_str(), "");
    EXPECT_EQ(null.c_str(), nullptr);
    EXPECT_TRUE(null == static_cast<const char*>(nullptr));
    EXPECT_FALSE(null == "");
    EXPECT_TRUE(du::Symbol::EMPTY == "");
    EXPECT_FALSE(du::Symbol::EMPTY == static_cast<const char*>(nullptr));
    EXPECT_TRUE(du::Symbol(static_cast<const char*>(nullptr)).IsNull());
}

TEST(Symbol, ComparesByBytes) {
    du::Symbol a("abc");
    EXPECT_EQ(a, du::Symbol(std::string("abc")));
    EXPECT_TRUE(a == "abc");
    EXPECT_FALSE(a == "ab");
    EXPECT_FALSE(a == "abcd");
    EXPECT_FALSE(a == "ABC");
    EXPECT_EQ(du::Symbol("a\0b", 3).length(), 3u);
    EXPECT_NE(du::Symbol("a\0b", 3), du::Symbol("a\0c", 3));
    // Upper case sorts before "_", and "_" before lower case; null first.
    EXPECT_LT(du::Symbol("OnTreeMappingBegin"), du::Symbol("OnTreeMapping__IS"));
    EXPECT_LT(du::Symbol("UnRegister"), du::Symbol("Unload"));
    EXPECT_LT(du::Symbol(), du::Symbol::EMPTY);
}

TEST(Symbol, FindGivesMinusOneWhenAbsent) {
    du::Symbol text("a/b/c");
    EXPECT_EQ(text.find("/"), 1);
    EXPECT_EQ(text.find("/", 2), 3);
    EXPECT_EQ(text.find("x"), -1);
    EXPECT_EQ(text.find("/", 99), -1);
    EXPECT_EQ(text.rfind("/"), 3);
    EXPECT_EQ(du::Symbol().find("a"), -1);
    EXPECT_EQ(du::Symbol().find(""), 0);
}

TEST(Symbol, CopiesShareAndOutliveTheOriginal) {
    du::Symbol copy;
    {
        du::Symbol original("shared text");
        copy = original;
        EXPECT_EQ(copy.safe_c_str(), original.safe_c_str());
    }
    EXPECT_EQ(copy, "shared text");
    du::Symbol moved(std::move(copy));
    EXPECT_TRUE(copy.IsNull());
    EXPECT_EQ(moved, "shared text");
}

TEST(Symbol, PrintsAndReads) {
    std::ostringstream out;
    du::Symbol("hello").Print(out);
    du::Symbol().Print(out);
    out << du::Symbol(" world");
    EXPECT_EQ(out.str(), "hello world");

    std::istringstream in("first line\nsecond");
    du::Symbol read;
    read.Read(in);
    EXPECT_EQ(read, "first line\nsecond");
    std::istringstream none("");
    read.Read(none);
    EXPECT_EQ(read, du::Symbol::EMPTY);
}

namespace {

// A text of length bytes that tells which one it is.
std::string Pattern(std::size_t length, std::size_t which) {
    std::string text(length, static_cast<char>('a' + which % 26));
    const std::string number = std::to_string(which);
    text.replace(0, std::min(length, number.size()), number, 0, std::min(length, number.size()));
    return text;
}

}  // namespace

// Texts of tens of kilobytes share pages that are used again once all of
// theirs are freed, from whichever thread: a page let go too early would
// show in the texts still alive.
TEST(Symbol, TextsOfEverySizeKeepTheirBytesWhileOtherThreadsMakeAndFreeTexts) {
    const std::vector<std::size_t> sizes = {100, 8 * 1024 - 40, 8 * 1024, 30000, 256 * 1024 - 40, 256 * 1024};
    constexpr std::size_t kMade = 140, kRun = 35;  // per round; runs of texts kept and freed
    std::vector<du::Symbol> kept;
    for (std::size_t round = 0; round < 4; ++round) {
        std::vector<du::Symbol> made;
        std::thread maker([&] {
            for (std::size_t i = 0; i < kMade; ++i) made.emplace_back(Pattern(sizes[i % sizes.size()], round * kMade + i));
        });
        maker.join();
        // Every other run of texts is freed by another thread, the rest kept.
        std::vector<du::Symbol> freed;
        for (std::size_t i = 0; i < kMade; ++i) (i / kRun % 2 ? freed : kept).push_back(made[i]);
        made.clear();
        std::thread([gone = std::move(freed)]() mutable { gone.clear(); }).join();
    }
    for (std::size_t k = 0; k < kept.size(); ++k) {
        const std::size_t round = k / (kMade / 2), i = k % (kMade / 2) / kRun * 2 * kRun + k % kRun;
        ASSERT_EQ(std::string(kept[k].safe_c_str(), kept[k].length()), Pattern(sizes[i % sizes.size()], round * kMade + i))
            << "text " << k;
    }
}
