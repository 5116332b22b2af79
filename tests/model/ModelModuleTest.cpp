// The module end to end on the engine's world, loaded from its library as
// the viewer loads it: its registration documents, SelectTreeNodes hiding a
// branch and loading it again, painting over the shapes' own colours and
// restoring them, and the model annotations of a model without markups.

#include <gtest/gtest.h>

#include <functional>

#include "ModelFiles.h"
#include "PluginSession.h"
#include "devhost/model/ModelFile.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldLock.h"

namespace {

class EngineModule : public support::PluginTest {
protected:
    void SetUp() override {
        world = devhost::model::LoadModelFile(modeltest::Engine());
        Start();
        session->RegisterTreeObserver();
    }

    // The instances in the order the tree tells them: parents first, depth
    // first, children in file order.
    std::vector<const devhost::InstanceNode*> Walk() const {
        std::vector<const devhost::InstanceNode*> order;
        devhost::WorldGuard guard(devhost::WorldMutex());
        std::function<void(const devhost::InstanceNode&)> visit = [&](const devhost::InstanceNode& node) {
            order.push_back(&node);
            for (const auto& child : node.children) visit(*child);
        };
        for (const auto& root : world->Tree().roots) visit(*root);
        return order;
    }
    std::string IdOf(const std::string& idPath) const {
        devhost::WorldGuard guard(devhost::WorldMutex());
        return std::to_string(world->Tree().Find(idPath)->uid);
    }
    static devhost::ShapeRecord Shape(const std::string& idPath) { return devhost::ShapeOf("Model", idPath); }

    du::SmartPtr<devhost::WorldModel> world;
};

TEST_F(EngineModule, RegistrationMapsEveryInstanceByIdAndIdpathAndTellsEachStateOnce) {
    const auto documents = session->Documents();
    ASSERT_EQ(2u, documents.size());
    std::string mapping = "{\"treeMapping\":[";
    const auto order = Walk();
    for (std::size_t i = 0; i < order.size(); ++i) {
        devhost::WorldGuard guard(devhost::WorldMutex());
        mapping += (i ? "," : "") + std::string("{\"id\":\"") + std::to_string(order[i]->uid) + "\",\"idpath\":\"" +
                   order[i]->IdPath() + "\"}";
    }
    EXPECT_EQ(mapping + "]}", documents[0]);
    // The root has no shape and holds assemblies without one; a part shows.
    EXPECT_EQ(0u, documents[1].find("{\"treeUpdate\":[{\"id\":\"" + IdOf("2CylinderEngine") + "\",\"state\":\"4\"}"))
        << documents[1].substr(0, 120);
    EXPECT_NE(std::string::npos,
              documents[1].find("{\"id\":\"" + IdOf("2CylinderEngine/nodes(0)/nodes(80)") +
                                "\",\"state\":\"1\",\"loaded\":\"true\"}"));
}

TEST_F(EngineModule, SelectTreeNodesHidesAPartThenLoadsItsPartlyShownBranchThenHidesIt) {
    const std::string branch = "2CylinderEngine/nodes(0)/nodes(13)";
    const std::string part = branch + "/nodes(72)", sibling = branch + "/nodes(71)";
    auto click = [&](const std::string& idPath) {
        session->SelectTreeNodes("{\"primaryNode\":\"" + IdOf(idPath) + "\"}");
        session->Settle();
    };
    ASSERT_TRUE(Shape(part).visible);
    click(part);  // state 1: hide
    EXPECT_FALSE(Shape(part).visible);
    EXPECT_TRUE(Shape(sibling).visible);
    // The branch holds assemblies without shapes, so it is partly shown
    // (state 4): the first click loads it all, the repeated one hides it.
    click(branch);
    EXPECT_TRUE(Shape(part).visible);
    click(branch);
    EXPECT_FALSE(Shape(part).visible);
    EXPECT_FALSE(Shape(sibling).visible);
    EXPECT_TRUE(Shape("2CylinderEngine/nodes(0)/nodes(80)").visible);
}

TEST_F(EngineModule, UnloadedPartsAreLoadedAgainWithTheirShapeInstances) {
    const std::string part = "2CylinderEngine/nodes(0)/nodes(80)";
    session->Module().UnloadInstances(du::Symbol("[\"" + part + "\"]"));
    session->Settle();
    EXPECT_FALSE(Shape(part).visible);
    session->Module().LoadInstances(du::Symbol("[\"" + part + "\"]"));
    session->Settle();
    EXPECT_TRUE(Shape(part).visible);
}

TEST_F(EngineModule, PaintingOverridesTheShapesOwnColourAndRestoringShowsItAgain) {
    const std::string part = "2CylinderEngine/nodes(0)/nodes(80)";
    session->Module().SetInstancesColor({du::Symbol(part.c_str())}, false, du::Symbol("0x11223344"));
    EXPECT_EQ(0x11223344u, Shape(part).color.GetAsHex());
    EXPECT_EQ("0x0011223344", session->Module().GetInstanceColor(part.c_str()).str());
    auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("Model"));
    EXPECT_TRUE(devhost::FindShape(*scene, qxk::World::GetWorld()->tree->FindInstance(part.c_str()).get())->painted);

    session->Module().RestoreInstancesVisibility();
    session->Settle();
    EXPECT_FALSE(devhost::FindShape(*scene, qxk::World::GetWorld()->tree->FindInstance(part.c_str()).get())->painted);
    EXPECT_EQ(dg::Color().GetAsHex(), Shape(part).color.GetAsHex());
}

TEST_F(EngineModule, AModelWithoutMarkupsListsNoModelAnnotations) {
    du::Symbol list;
    session->Module().GetAllModelAnnotations(list);
    EXPECT_EQ("{\"modelannotations\":[]}", list.str());
}

}  // namespace
