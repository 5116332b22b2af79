// The module reads content on its actor thread while the host changes it
// from another thread; under ThreadSanitizer this shows the locking holds.

#include <atomic>

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "ContentTestSupport.h"
#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/ActorTasks.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/WorldControl.h"
#include "qxannotations/Label.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Instance.h"
#include "qxk/Operation.h"
#include "qxk/Selection.h"
#include "qxk/Shape.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeScene.h"
#include "qxk/Tree.h"
#include "qxk/Viewables.h"
#include "qxloader/Loader.h"

namespace {

// What a module's commands read: selection, viewables, markups, the loader.
void ReadLikeTheModule(const du::SmartPtr<devhost::WorldModel>& world, const du::SmartPtr<qxk::ShapeScene>& scene) {
    du::SmartPtr<qxk::SelectionManager> selection;
    scene->GetSelectionManager(selection);
    std::vector<du::SmartPtr<qxk::SelectionItem>> items;
    selection->GetSelectedItems(0, du::Symbol::EMPTY, items, qxk::ExpandAsSelected);
    for (const auto& item : items) {
        if (auto representation = item->GetRepresentation()) {
            std::vector<du::Symbol> names;
            representation->GetFieldNames(names);
            std::string value;
            for (const auto& name : names) representation->GetField(name, value);
        }
    }
    du::SmartPtr<qxk::ShapeInstance> arm;
    if (scene->GetShapeInstance(world->tree->FindInstance("drone/frame/arm_1"), arm)) {
        du::SmartPtr<qxk::Shape> shape;
        arm->GetShape(shape);
        du::SmartPtr<qxg::Markup> markup(dynamic_cast<qxg::Markup*>(shape->GetObject("dim_arm_length")));
        arm->ShowMarkup(markup, nullptr);
        dg::Color color;
        arm->GetMarkupColorOverride(markup, color);
    }
    du::SmartPtr<qxk::ComponentNode> component;
    world->tree->FindInstance("drone")->GetComponentNode(component);
    std::vector<du::SmartPtr<qxk::ViewableSource>> sources;
    if (component) component->GetViewableSources(sources);
    qxloader::Loader::GetLoader();
}

}  // namespace

TEST(Concurrency, TheActorReadsWhileTheHostChangesSelectionMarkupsLabelsAndTheLoader) {
    support::CleanProcess clean;
    auto world = devhost::LoadDefaultSampleWorld();
    auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("Model"));
    ctest::Actor actor;
    std::atomic<int> reads{0};
    const int rounds = 200;
    for (int i = 0; i < rounds; ++i)
        devhost::PostTask(actor.object, [&] {
            ReadLikeTheModule(world, scene);
            ++reads;
        });

    du::SmartPtr<qxk::ShapeInstance> arm;
    ASSERT_TRUE(scene->GetShapeInstance(world->tree->FindInstance("drone/frame/arm_1"), arm));
    du::SmartPtr<qxk::Shape> shape;
    arm->GetShape(shape);
    du::SmartPtr<qxg::Markup> markup(dynamic_cast<qxg::Markup*>(shape->GetObject("dim_arm_length")));
    for (int i = 0; i < rounds; ++i) {
        devhost::SetSceneSelection("Model", 0, {devhost::SelectionItemDesc{true, "groupselectionitem",
                                                                           {{"groupname", std::to_string(i)}}, {}}});
        arm->HideMarkup(markup, nullptr);
        arm->OverrideMarkupColor(markup, dg::Color(static_cast<unsigned int>(i)));
        devhost::CurrentContent()->SetLoaderPresent(i % 2 == 0);
        du::SmartPtr<qxannotations::Label>(new qxannotations::Label(qxannotations::LabelInfo()))->AttachToScene(scene);
    }
    ASSERT_TRUE(actor.SettleUntil([&] { return reads == rounds; }));
    EXPECT_EQ(static_cast<std::size_t>(rounds), devhost::LabelsOf(*scene).size());
}
