#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "devhost/platform/MessageResources.h"
#include "du/Base64.h"
#include "du/FileSystem.h"
#include "du/Localizer.h"
#include "du/StringUtil.h"

TEST(StringSplit, SkipsEmptyPiecesAndAppends) {
    std::vector<std::string> tokens{"kept"};
    du::StringSplit(",a,,b c,", tokens, ",");
    EXPECT_EQ(tokens, (std::vector<std::string>{"kept", "a", "b c"}));
    tokens.clear();
    du::StringSplit("x::y::", tokens, "::");
    EXPECT_EQ(tokens, (std::vector<std::string>{"x", "y"}));
    tokens.clear();
    du::StringSplit(",,,", tokens, ",");
    du::StringSplit("", tokens, ",");
    EXPECT_TRUE(tokens.empty());
}

TEST(HashNextPrime, GivesTheSmallestTableSizeNotBelow) {
    EXPECT_EQ(du::HashNextPrime(0), 53ul);
    EXPECT_EQ(du::HashNextPrime(53), 53ul);
    EXPECT_EQ(du::HashNextPrime(54), 97ul);
    EXPECT_EQ(du::HashNextPrime(500), 769ul);
    EXPECT_EQ(du::HashNextPrime(4294967295ul), 4294967291ul);
}

TEST(Base64, EncodesWithStandardAlphabetAndPadding) {
    auto encode = [](const std::string& text) { return du::Base64::Encode(text.data(), text.size()); };
    EXPECT_EQ(encode(""), "");
    EXPECT_EQ(encode("f"), "Zg==");
    EXPECT_EQ(encode("fo"), "Zm8=");
    EXPECT_EQ(encode("foo"), "Zm9v");
    EXPECT_EQ(encode("foobar"), "Zm9vYmFy");
    EXPECT_EQ(encode(std::string("\xfb\xff\xbf", 3)), "+/+/");
    EXPECT_EQ(encode(std::string("\0\0", 2)), "AAA=");
}

TEST(Localizer, MissingKeysFollowTheActionOnFailure) {
    devhost::RegisterMessageResource("test:strings", {{"7000", "Loading %1"}});
    du::Localizer localizer("test:strings");
    EXPECT_EQ(localizer.LocalizeMessage("7000", du::Localizer::AOF_ReturnKey), "Loading %1");
    EXPECT_EQ(localizer.LocalizeMessage("7001", du::Localizer::AOF_ReturnKey), "7001");
    EXPECT_EQ(localizer.LocalizeMessage("7001", du::Localizer::AOF_ReturnEmpty), "");
    EXPECT_THROW(localizer.LocalizeMessage("7001", du::Localizer::AOF_Throw), std::out_of_range);
    devhost::UnregisterMessageResource("test:strings");
    EXPECT_EQ(localizer.LocalizeMessage("7000", du::Localizer::AOF_ReturnKey), "7000");
}

TEST(FileSystem, OpensAndStatsFiles) {
    char path[] = "/tmp/platform_testXXXXXX";
    int descriptor = mkstemp(path);
    ASSERT_GE(descriptor, 0);
    std::FILE* file = du::FileSystem::qxfopen(path, "wb");
    ASSERT_NE(file, nullptr);
    std::fputs("12345", file);
    std::fclose(file);
    du::FileStat stat{};
    EXPECT_TRUE(du::FileSystem::Stat(path, &stat));
    EXPECT_EQ(stat.size, 5u);
    EXPECT_GT(stat.modificationTime, 0);
    std::remove(path);
    ::close(descriptor);
    EXPECT_FALSE(du::FileSystem::Stat(path, &stat));
    EXPECT_EQ(du::FileSystem::qxfopen(path, "rb"), nullptr);
    EXPECT_EQ(du::FileSystem::qxfopen(nullptr, "rb"), nullptr);
}
