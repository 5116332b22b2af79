// The cut that the loose request readers make between two positions, with
// the wrap-around of unsigned positions that clients' texts rely on.

#include <gtest/gtest.h>

#include <string>

#include "tree/TextCut.h"

namespace {

constexpr std::size_t npos = std::string::npos;

TEST(TextCut, TakesWhatLiesStrictlyBetweenAndWrapsRoundPastTheEnd) {
    EXPECT_EQ(CutBetween("[\"a\",\"b\"]", 0, 8), "\"a\",\"b\"");
    EXPECT_EQ(CutBetween("[]", 0, 1), "");
    // An end before the start takes the rest of the text.
    EXPECT_EQ(CutBetween("x]y[z,w", 3, 1), "z,w");
    // Not found: a start of npos begins at the first character, an end of
    // npos takes the rest.
    EXPECT_EQ(CutBetween("3}", npos, 1), "3");
    EXPECT_EQ(CutBetween("depth:5", 5, npos), "5");
    EXPECT_EQ(CutBetween("whole", npos, npos), "whole");
    // A start at the last character leaves nothing, and one past the text
    // too, without throwing.
    EXPECT_EQ(CutBetween("ab[", 2, 0), "");
    EXPECT_EQ(CutBetween("ab", 7, 1), "");
}

}  // namespace
