// The plug-in's dynamic symbol table holds its three entries and nothing else.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace {

TEST(ExportsTest, ExactlyTheThreeEntries) {
    std::FILE* nm = popen("nm -D --defined-only " WEBAPI_PLUGIN_PATH, "r");
    ASSERT_NE(nm, nullptr);
    std::set<std::string> defined;
    char line[1024];
    while (std::fgets(line, sizeof line, nm) != nullptr) {
        std::istringstream fields(line);
        std::string address, kind, name;
        if (fields >> address >> kind >> name) defined.insert(name);
    }
    ASSERT_EQ(pclose(nm), 0);
    EXPECT_EQ(defined, (std::set<std::string>{"QXDllCreateComponent", "QXDllInit", "QXDllTerminate"}));
}

}  // namespace
