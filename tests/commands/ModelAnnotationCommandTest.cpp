// Model annotations through the plug-in: the list document, showing and
// hiding one or all, and colouring them, on shapes shared by instances.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "HostCalls.h"
#include "PluginSession.h"
#include "WorldFile.h"
#include "devhost/content/SceneContent.h"
#include "devhost/world/WorldControl.h"
#include "qxk/Instance.h"
#include "qxk/Shape.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeScene.h"
#include "qxk/Tree.h"
#include "qxk/World.h"

namespace {

class ModelAnnotationCommand : public support::PluginTest {
protected:
    void SetUp() override { Start(); }

    static du::SmartPtr<qxk::ShapeInstance> ShapeInstanceOf(const char* idPath) {
        auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("Model"));
        du::SmartPtr<qxk::ShapeInstance> shapeInstance;
        scene->GetShapeInstance(qxk::World::GetWorld()->tree->FindInstance(idPath), shapeInstance);
        return shapeInstance;
    }
    static qxk::GeomOverride::Visibility VisibilityOf(const char* idPath, const char* markup) {
        return devhost::GetMarkupVisibility(*ShapeInstanceOf(idPath), markup);
    }
    std::string List() {
        du::Symbol out;
        session->Module().GetAllModelAnnotations(out);
        return out.str();
    }

    support::WorldFile world{ctest::SmallWorld("")};
};

TEST_F(ModelAnnotationCommand, ASharedShapeListsItsMarkupsOnceForEachInstanceInOneCompactDocument) {
    // The scene's instances and a shape's markups come in the order of their
    // addresses.
    auto tree = qxk::World::GetWorld()->tree;
    std::vector<std::pair<const void*, std::string>> instances;
    for (const char* path : {"car/wheel_left", "car/wheel_right", "car/body"})
        instances.emplace_back(tree->FindInstance(path).get(), path);
    std::sort(instances.begin(), instances.end());
    du::SmartPtr<qxk::Shape> wheel;
    ShapeInstanceOf("car/wheel_left")->GetShape(wheel);
    std::vector<std::pair<const void*, std::string>> wheelMarkups = {{wheel->GetObject("dim_d"), "dim_d"},
                                                                     {wheel->GetObject("note_psi"), "note_psi"}};
    std::sort(wheelMarkups.begin(), wheelMarkups.end());

    std::string expected = "{\"modelannotations\":[";
    for (const auto& instance : instances) {
        if (instance.second == "car/body") {
            expected += "{\"id\":\"dim_d\",\"idpath\":\"car/body\"},";
            continue;
        }
        for (const auto& markup : wheelMarkups)
            expected += "{\"id\":\"" + markup.second + "\",\"idpath\":\"" + instance.second + "\"},";
    }
    expected.back() = ']';
    expected += "}";
    EXPECT_EQ(expected, List());

    devhost::ShowInstance("Model", "car", true);  // a shape instance without a shape adds nothing
    EXPECT_EQ(expected, List());
}

TEST_F(ModelAnnotationCommand, AnEmptyOrMissingShapeSceneStillGivesTheKeyWithAnEmptyList) {
    ASSERT_TRUE(devhost::RemoveInstanceAt("car"));
    EXPECT_EQ("{\"modelannotations\":[]}", List());
    ASSERT_TRUE(devhost::ActivateView(""));
    EXPECT_EQ("{\"modelannotations\":[]}", List());
}

TEST_F(ModelAnnotationCommand, ShowAndHideActOnOneInstancesMarkupWithNoOperationAndOnlyOnMarkups) {
    session->Module().HideModelAnnoations("car/wheel_left", "dim_d");
    EXPECT_EQ(qxk::GeomOverride::hidden, VisibilityOf("car/wheel_left", "dim_d"));
    EXPECT_EQ(qxk::GeomOverride::shown, VisibilityOf("car/wheel_right", "dim_d"));
    EXPECT_EQ(qxk::GeomOverride::shown, VisibilityOf("car/wheel_left", "note_psi"));
    session->Module().ShowModelAnnoations("car/wheel_left", "dim_d");
    EXPECT_EQ(qxk::GeomOverride::shown, VisibilityOf("car/wheel_left", "dim_d"));

    const auto calls = devhost::MarkupCallsOf(*ShapeInstanceOf("car/wheel_left"));
    ASSERT_EQ(2u, calls.size());
    EXPECT_STREQ("HideMarkup", calls[0].method);
    EXPECT_STREQ("ShowMarkup", calls[1].method);
    EXPECT_FALSE(calls[0].operation);
    EXPECT_FALSE(calls[1].operation);

    // A face, an unknown id, an unknown instance: nothing happens.
    session->Module().HideModelAnnoations("car/wheel_left", "tread");
    session->Module().HideModelAnnoations("car/wheel_left", "nothing");
    session->Module().HideModelAnnoations("car/trailer", "dim_d");
    EXPECT_EQ(2u, devhost::MarkupCallsOf(*ShapeInstanceOf("car/wheel_left")).size());
    EXPECT_TRUE(cmdtest::CommandTraces().empty());
}

TEST_F(ModelAnnotationCommand, HideAllAndShowAllReachEveryMarkupOfEveryShapeInstance) {
    session->Module().HideAllModelAnnoations();
    for (const char* path : {"car/wheel_left", "car/wheel_right"}) {
        EXPECT_EQ(qxk::GeomOverride::hidden, VisibilityOf(path, "dim_d"));
        EXPECT_EQ(qxk::GeomOverride::hidden, VisibilityOf(path, "note_psi"));
    }
    EXPECT_EQ(qxk::GeomOverride::hidden, VisibilityOf("car/body", "dim_d"));
    session->Module().ShowAllModelAnnoations();
    EXPECT_EQ(qxk::GeomOverride::shown, VisibilityOf("car/wheel_right", "note_psi"));
    const auto calls = devhost::MarkupCallsOf(*ShapeInstanceOf("car/body"));
    ASSERT_EQ(2u, calls.size());
    EXPECT_STREQ("SetMarkupVisibility", calls[1].method);
    EXPECT_EQ(qxk::GeomOverride::shown, calls[1].visibility);
    EXPECT_FALSE(calls[1].operation);
}

TEST_F(ModelAnnotationCommand, AColourIsReadBackOnlyWhereItWasSetAndABadColourIsDroppedSilently) {
    EXPECT_TRUE(session->Module().GetModelAnnotationColor("car/wheel_left", "dim_d").IsNull());
    session->Module().SetModelAnnotationColor("car/wheel_left", "dim_d", "ff0000");
    EXPECT_EQ("0x00ff0000", session->Module().GetModelAnnotationColor("car/wheel_left", "dim_d").str());
    EXPECT_TRUE(session->Module().GetModelAnnotationColor("car/wheel_right", "dim_d").IsNull());
    EXPECT_TRUE(session->Module().GetModelAnnotationColor("car/wheel_left", "note_psi").IsNull());

    session->Module().SetModelAnnotationColor("car/wheel_left", "dim_d", "0");
    EXPECT_EQ("0x000", session->Module().GetModelAnnotationColor("car/wheel_left", "dim_d").str());
    session->Module().SetModelAnnotationColor("car/wheel_left", "dim_d", "red");
    session->Module().SetModelAnnotationColor("car/nothing", "dim_d", "red");
    EXPECT_EQ("0x000", session->Module().GetModelAnnotationColor("car/wheel_left", "dim_d").str());
    EXPECT_TRUE(session->Module().GetModelAnnotationColor("car/wheel_left", "tread").IsNull());
    EXPECT_TRUE(cmdtest::CommandTraces().empty());
}

TEST_F(ModelAnnotationCommand, WithoutATreeEachTracesItsWordsAndHidingUsesTheWordsOfShowing) {
    devhost::UseWorldWithoutTree();
    session->Module().ShowModelAnnoations("car/wheel_left", "dim_d");
    session->Module().HideModelAnnoations("car/wheel_left", "dim_d");
    session->Module().SetModelAnnotationColor("car/wheel_left", "dim_d", "ff");
    const du::Symbol color = session->Module().GetModelAnnotationColor("car/wheel_left", "dim_d");
    EXPECT_FALSE(color.IsNull());
    EXPECT_EQ("", color.str());
    EXPECT_EQ((std::vector<std::string>{"3|ShowModelAnnoations - No tree\n", "3|ShowModelAnnoations - No tree\n",
                                        "3|SetModelAnnotationColor - No tree\n",
                                        "3|GetModelAnnotationColor - No tree\n"}),
              cmdtest::CommandTraces());
}

}  // namespace
