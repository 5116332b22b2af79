// Annotation sets and labels through the plug-in: the sets by index, loading
// one with the scene kept or rebuilt and the observers attached, applies that
// end out of order, and labels.
#include <gtest/gtest.h>

#include "HostCalls.h"
#include "PluginSession.h"
#include "WorldFile.h"
#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/world/HostWorker.h"
#include "devhost/world/WorldControl.h"
#include "qxk/Scene.h"
#include "qxk/ShapeScene.h"
#include "qxk/View.h"
#include "qxk/WorkflowManager.h"
#include "qxk/illustration/Illustration3dScene.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"

namespace {

du::SmartPtr<qxk::View> ActiveView() { return qxkapp::QxkApp::Get()->GetSceneManager()->GetActiveView(); }

du::SmartPtr<qxk::Scene> ActiveScene() {
    du::SmartPtr<qxk::Scene> scene;
    if (auto view = ActiveView()) view->GetScene(scene);
    return scene;
}

using AnnotationSetCommand = support::PluginTest;

class SampleAnnotationSets : public support::SampleWorldTest {
protected:
    std::vector<bool> Applied() { return devhost::CurrentContent()->GetPlugin()->AnnotationsApplied(); }
};

TEST_F(SampleAnnotationSets, SetsAreCountedAndNamedInTableOrderAndAnIndexAtTheCountHasNoName) {
    EXPECT_EQ(4u, session->Module().GetNumberOfAnnotationSets());
    EXPECT_EQ("Model annotations", session->Module().GetAnnotationSetName(0).str());
    EXPECT_EQ("Service steps", session->Module().GetAnnotationSetName(1).str());
    EXPECT_EQ("Inspection marks", session->Module().GetAnnotationSetName(3).str());
    EXPECT_TRUE(session->Module().GetAnnotationSetName(4).IsNull());
    EXPECT_TRUE(session->Module().GetAnnotationSetName(0xffffffffu).IsNull());
}

TEST_F(SampleAnnotationSets, AModelSetOnTheShapeSceneKeepsSceneAndViewAndAttachesItsObservers) {
    const auto view = ActiveView();
    const auto scene = ActiveScene();
    session->Module().LoadAnnotationSet("Model annotations");
    session->Settle();
    EXPECT_EQ(view.get(), ActiveView().get());
    EXPECT_EQ(scene.get(), ActiveScene().get());
    const auto applied = devhost::CurrentContent()->AppliedSets();
    ASSERT_EQ(1u, applied.size());
    EXPECT_EQ(scene.get(), applied[0].scene.get());
    EXPECT_EQ(0xbfffu, applied[0].mask);
    EXPECT_FALSE(applied[0].keepCamera);
    EXPECT_EQ("ApplyAnnotationsEvent", applied[0].eventName);
    EXPECT_EQ(0, applied[0].status);
    EXPECT_EQ(std::vector<bool>{true}, Applied());
    EXPECT_EQ(devhost::CurrentContent()->GetAnnoSetTable().get(), devhost::CurrentContent()->SceneManagerTable().get());

    // A second load keeps the scene again, which then holds both loads'
    // observers.
    session->Module().LoadAnnotationSet("Model annotations");
    session->Settle();
    EXPECT_EQ(2u, devhost::SelectionOf(*scene)->ObserverCount());
    ASSERT_TRUE(devhost::SetSceneSelection("Model", 0, {devhost::SelectionItemDesc{true, "groupselectionitem", {}, {}}}));
    du::SmartPtr<qxk::WorkflowManager> workflows;
    view->GetWorkflowManager(workflows);
    workflows->SendWorkflowMessage("measure", "start", 3, nullptr);
    session->Settle();
    EXPECT_EQ((std::vector<unsigned int>{0, 0}), devhost::CurrentContent()->GetPlugin()->SelectionChanges());
    const auto observed = devhost::CurrentContent()->WorkflowObservations();
    ASSERT_EQ(4u, observed.size());  // each load's observer, through both of its sides
    EXPECT_EQ(view.get(), observed[2].view.get());
    EXPECT_EQ("start", observed[3].message.str());
}

TEST_F(SampleAnnotationSets, AnyOtherSetRebuildsSceneAndViewWhichShowWhatTheSetHolds) {
    session->Module().LoadAnnotationSet("Service steps");
    const auto scene = ActiveScene();
    ASSERT_TRUE(scene);
    EXPECT_TRUE(scene->IsATypeOf(qxk::illustration::Illustration3dScene::CLASS_TYPE));
    EXPECT_EQ("Service steps", scene->GetName().str());
    EXPECT_EQ(1u, qxkapp::QxkApp::Get()->GetSceneManager()->GetScenes().size());
    session->Settle();
    EXPECT_TRUE(devhost::ShapeOf("Service steps", "drone/electronics/battery").visible);
    EXPECT_TRUE(devhost::ShapeOf("Service steps", "drone/propulsion/prop_2").present);
    EXPECT_EQ(1u, devhost::SelectionOf(*scene)->ObserverCount());

    // A model set onto a scene that is a shape scene, though an
    // illustration's, keeps it.
    session->Module().LoadAnnotationSet("Inspection marks");
    session->Settle();
    EXPECT_EQ(scene.get(), ActiveScene().get());
    EXPECT_EQ((std::vector<bool>{true, false}), Applied());

    // A set that builds no shape scene is applied, with no observer.
    session->Module().LoadAnnotationSet("Wiring overlay");
    session->Settle();
    const auto plain = ActiveScene();
    ASSERT_TRUE(plain);
    EXPECT_FALSE(plain->IsATypeOf(qxk::ShapeScene::CLASS_TYPE));
    EXPECT_EQ(0u, devhost::SelectionOf(*plain)->ObserverCount());
    EXPECT_EQ((std::vector<bool>{true, false, true}), Applied());

    // Unknown names do nothing.
    session->Module().LoadAnnotationSet("Nothing");
    session->Module().LoadAnnotationSet(du::Symbol());
    session->Settle();
    EXPECT_EQ(3u, devhost::CurrentContent()->AppliedSets().size());
    EXPECT_EQ(plain.get(), ActiveScene().get());
    EXPECT_TRUE(cmdtest::CommandTraces().empty());
}

TEST_F(SampleAnnotationSets, WithoutAnActiveViewEvenAModelSetRebuilds) {
    ASSERT_TRUE(devhost::ActivateView(""));
    session->Module().LoadAnnotationSet("Model annotations");
    session->Settle();
    const auto scene = ActiveScene();
    ASSERT_TRUE(scene);
    EXPECT_EQ("Model annotations", scene->GetName().str());
    EXPECT_TRUE(devhost::ShapeOf("Model annotations", "drone/frame/arm_3").visible);
    EXPECT_FALSE(devhost::FindSceneNamed("Model"));
}

TEST_F(SampleAnnotationSets, LabelsCarryTheirThreeCoordinatesInOrderAndOneTextRow) {
    const auto scene = ActiveScene();
    session->Module().AddAnnotationLabel("Torque \"5 Nm\"", 1.5, -2.25, 3e300);
    session->Module().AddAnnotationLabel("", 0, 0, 0);
    const auto labels = devhost::LabelsOf(*scene);
    ASSERT_EQ(2u, labels.size());
    const auto& info = labels[0]->GetInfo();
    EXPECT_EQ(1.5, info.x);
    EXPECT_EQ(-2.25, info.y);
    EXPECT_EQ(3e300, info.z);
    ASSERT_EQ(1u, info.textRows.size());
    EXPECT_EQ(0, info.textRows[0].kind);
    EXPECT_EQ("Torque \"5 Nm\"", info.textRows[0].text);

    ASSERT_TRUE(devhost::ActivateView(""));
    session->Module().AddAnnotationLabel("lost", 1, 2, 3);
    EXPECT_EQ(2u, devhost::LabelsOf(*scene).size());
}

TEST_F(AnnotationSetCommand, AppliesHeldByTheHostCanEndOutOfOrderAndTheSceneWaitsForThem) {
    support::WorldFile world(ctest::SmallWorld(R"(, "annotationSets": [
        { "name": "Steps", "propName": "illustration", "held": true, "shapes": [ "car/body" ] },
        { "name": "Marks", "propName": "model", "held": true,
          "shapes": [ { "instance": "car/wheel_left", "visible": false } ] } ])"));
    Start();
    session->Module().LoadAnnotationSet("Steps");
    session->Module().LoadAnnotationSet("Marks");
    session->Settle();
    const auto content = devhost::CurrentContent();
    ASSERT_EQ(2u, content->AppliedSets().size());
    EXPECT_EQ(-1, content->AppliedSets()[0].status);
    EXPECT_FALSE(devhost::ShapeOf("Steps", "car/wheel_left").present);
    EXPECT_TRUE(content->GetPlugin()->AnnotationsApplied().empty());

    ASSERT_TRUE(content->ReleaseApply(1, 0));
    session->Settle();
    EXPECT_TRUE(devhost::ShapeOf("Steps", "car/wheel_left").present);
    EXPECT_FALSE(devhost::ShapeOf("Steps", "car/wheel_left").visible);
    EXPECT_FALSE(devhost::ShapeOf("Steps", "car/body").present);
    EXPECT_EQ(std::vector<bool>{true}, content->GetPlugin()->AnnotationsApplied());

    ASSERT_TRUE(content->ReleaseApply(0, 2));
    EXPECT_FALSE(content->ReleaseApply(0, 0));
    session->Settle();
    EXPECT_FALSE(devhost::ShapeOf("Steps", "car/body").present);
    EXPECT_EQ((std::vector<bool>{true, false}), content->GetPlugin()->AnnotationsApplied());
    EXPECT_EQ(2, content->AppliedSets()[0].status);
}

TEST_F(AnnotationSetCommand, AnApplyStillHeldWhenThePluginGoesNeverReachesItsUnloadedCode) {
    support::WorldFile world(ctest::SmallWorld(R"(, "annotationSets": [ { "name": "Marks", "held": true } ])"));
    Start();
    session->Module().LoadAnnotationSet("Marks");
    session->Settle();
    session->End();
    EXPECT_TRUE(devhost::CurrentContent()->ReleaseApply(0, 0));
    devhost::DrainHostWorker();
    EXPECT_EQ(0, devhost::CurrentContent()->AppliedSets()[0].status);
    EXPECT_TRUE(devhost::CurrentContent()->GetPlugin()->AnnotationsApplied().empty());
}

}  // namespace
