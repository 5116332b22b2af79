// SelectTreeNodes' choice between hiding and loading, for every visibility
// state the tree model can give the primary node, through the plug-in loaded
// as the viewer loads it.

#include <gtest/gtest.h>

#include <string>

#include "PluginSession.h"
#include "devhost/world/ProgressDisplays.h"
#include "devhost/world/WorldControl.h"

namespace {

enum class Act { Hide, Load, Neither };

struct StateCase {
    int state;
    Act act;
};

// Every state, those the rule never gives and those past the named ones
// included. 6 hides although its node is not shown; 1 hides although none
// of its children is; 3 and 4 load on a first click.
const StateCase kTable[] = {
    {0, Act::Neither}, {1, Act::Hide}, {2, Act::Load},  {3, Act::Load},    {4, Act::Load},     {5, Act::Hide},
    {6, Act::Hide},    {7, Act::Load}, {8, Act::Load},  {9, Act::Neither}, {10, Act::Neither},
};

std::string Branch(int state) { return "top/s" + std::to_string(state); }

// One branch per state: the node and its child "shown" in the scene and
// visible, its child "unshown" not in the scene. The node of state s has the
// id 10 + s, so no request repeats the last primary.
std::string TableWorld() {
    std::string children, shapes;
    for (const StateCase& row : kTable) {
        const std::string n = std::to_string(row.state);
        if (!children.empty()) children += ",";
        children += R"({"name":"s)" + n + R"(","uid":)" + std::to_string(10 + row.state) +
                    R"(,"children":[{"name":"shown","uid":)" + std::to_string(100 + 2 * row.state) +
                    R"(},{"name":"unshown","uid":)" + std::to_string(101 + 2 * row.state) + "}]}";
        shapes += R"(,")" + Branch(row.state) + R"(",")" + Branch(row.state) + R"(/shown")";
    }
    return R"({"structure":[{"name":"top","uid":1,"children":[)" + children + R"(]}],)" +
           R"("scenes":[{"name":"main","shapes":["top")" + shapes + R"(],"views":[{"name":"v","kind":"shape"}]}],)" +
           R"("activeView":"v"})";
}

const char* ActName(Act act) { return act == Act::Hide ? "hide" : act == Act::Load ? "load" : "neither"; }

using HideOrLoadTable = support::PluginTest;

TEST_F(HideOrLoadTable, EachStateOfThePrimaryHidesLoadsOrDoesNeither) {
    Start(TableWorld());
    session->RegisterTreeObserver();
    for (const StateCase& row : kTable) {
        SCOPED_TRACE(std::string("state ") + std::to_string(row.state) + ", " + ActName(row.act));
        const std::string branch = Branch(row.state);
        ASSERT_TRUE(devhost::SetVisibilityOverride(branch, row.state));
        session->Settle();
        devhost::ClearProgressDisplays();

        session->SelectTreeNodes(R"({"primaryNode":")" + std::to_string(10 + row.state) + R"("})");
        session->Settle();

        const devhost::ShapeRecord node = devhost::ShapeOf("main", branch);
        const devhost::ShapeRecord shown = devhost::ShapeOf("main", branch + "/shown");
        const devhost::ShapeRecord unshown = devhost::ShapeOf("main", branch + "/unshown");
        ASSERT_TRUE(node.present);
        ASSERT_TRUE(shown.present);
        switch (row.act) {
            case Act::Hide:
                EXPECT_FALSE(node.visible);
                EXPECT_FALSE(shown.visible);
                EXPECT_FALSE(unshown.present) << "a hide adds nothing";
                break;
            case Act::Load:
                EXPECT_TRUE(node.visible);
                EXPECT_TRUE(shown.visible);
                EXPECT_TRUE(unshown.present && unshown.visible) << "a load shows the whole branch";
                break;
            case Act::Neither:
                EXPECT_TRUE(node.visible);
                EXPECT_TRUE(shown.visible);
                EXPECT_FALSE(unshown.present);
                break;
        }
        EXPECT_EQ(devhost::ProgressDisplays().size(), row.act == Act::Neither ? 0u : 1u);
    }
}

}  // namespace
