#include <gtest/gtest.h>

#include <sstream>

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
