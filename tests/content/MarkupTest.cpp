// Geometry walks, and markups shown, hidden and coloured per shape instance.

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "TestWorlds.h"
#include "WorldFile.h"
#include "devhost/content/SceneContent.h"
#include "devhost/world/WorldControl.h"
#include "qxg/Shape.h"
#include "qxk/Instance.h"
#include "qxk/Operation.h"
#include "qxk/Shape.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeScene.h"
#include "qxk/Tree.h"
#include "qxk/World.h"

namespace {

// Counts what the walk meets; bodies, regions and shells are left to the
// base, so they are only seen through what they hold.
struct KindCounter : qxg::ShapeVisitor {
    qxg::VisitState VisitMarkup(const qxg::Markup& m) override { markups.push_back(m.GetId()); return qxg::VisitContinue; }
    qxg::VisitState VisitFace(const qxg::Face&) override { return Count(); }
    qxg::VisitState VisitEdge(const qxg::Edge&) override { return Count(); }
    qxg::VisitState VisitVertex(const qxg::Vertex&) override { return Count(); }
    qxg::VisitState VisitWire(const qxg::Wire&) override { return Count(); }
    qxg::VisitState VisitMesh(const qxg::Mesh&) override { return Count(); }
    qxg::VisitState VisitPointSet(const qxg::PointSet&) override { return Count(); }
    qxg::VisitState Count() { ++others; return qxg::VisitContinue; }
    std::vector<std::string> markups;
    int others = 0;
};

class Markups : public ::testing::Test {
protected:
    void SetUp() override {
        const auto& world = file.World();
        auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("Model"));
        ASSERT_TRUE(scene->GetShapeInstance(world->tree->FindInstance("car/wheel_left"), left));
        ASSERT_TRUE(scene->GetShapeInstance(world->tree->FindInstance("car/wheel_right"), right));
        ASSERT_TRUE(scene->GetShapeInstance(world->tree->FindInstance("car/body"), body));
        left->GetShape(wheel);
        ASSERT_TRUE(wheel);
    }
    du::SmartPtr<qxg::Markup> MarkupOf(const du::SmartPtr<qxk::Shape>& shape, const char* id) {
        return du::SmartPtr<qxg::Markup>(dynamic_cast<qxg::Markup*>(shape->GetObject(id)));
    }

    support::CleanProcess clean;
    support::WorldFile file{ctest::SmallWorld("")};
    du::SmartPtr<qxk::ShapeInstance> left, right, body;
    du::SmartPtr<qxk::Shape> wheel;
};

}  // namespace

TEST_F(Markups, TheWalkDescendsThroughBodiesRegionsAndShellsToMarkupsAndLeaves) {
    du::SmartPtr<qxg::Shape> data;
    wheel->GetShapeData(data);
    KindCounter counter;
    data->Accept(counter);
    EXPECT_EQ((std::vector<std::string>{"dim_d", "note_psi"}), counter.markups);
    EXPECT_EQ(2, counter.others);
    EXPECT_FALSE(wheel->GetObject("nothing"));
    EXPECT_FALSE(dynamic_cast<qxg::Markup*>(wheel->GetObject("tread")));
}

TEST_F(Markups, VisibilityAndColourAreKeptPerShapeInstanceOfASharedShape) {
    du::SmartPtr<qxk::Shape> other;
    right->GetShape(other);
    EXPECT_EQ(wheel, other);
    auto dim = MarkupOf(wheel, "dim_d");
    left->HideMarkup(dim, nullptr);
    EXPECT_EQ(qxk::GeomOverride::hidden, devhost::GetMarkupVisibility(*left, "dim_d"));
    EXPECT_EQ(qxk::GeomOverride::shown, devhost::GetMarkupVisibility(*right, "dim_d"));
    left->SetMarkupVisibility(dim.get(), qxk::GeomOverride::shown, nullptr);
    EXPECT_EQ(qxk::GeomOverride::shown, devhost::GetMarkupVisibility(*left, "dim_d"));

    dg::Color color;
    EXPECT_FALSE(right->GetMarkupColorOverride(dim, color));
    right->OverrideMarkupColor(dim, dg::Color(0x11223344u));
    ASSERT_TRUE(right->GetMarkupColorOverride(dim, color));
    EXPECT_EQ(0x11223344u, color.GetAsHex());
    EXPECT_FALSE(left->GetMarkupColorOverride(dim, color));
}

TEST_F(Markups, AMarkupOfAnotherShapeIsIgnoredEvenWithTheSameId) {
    du::SmartPtr<qxk::Shape> panel;
    body->GetShape(panel);
    auto wheelDim = MarkupOf(wheel, "dim_d");
    body->HideMarkup(wheelDim, nullptr);
    body->OverrideMarkupColor(wheelDim, dg::Color(0xffu));
    EXPECT_EQ(qxk::GeomOverride::shown, devhost::GetMarkupVisibility(*body, "dim_d"));
    dg::Color color;
    EXPECT_FALSE(body->GetMarkupColorOverride(MarkupOf(panel, "dim_d"), color));
}
