// Walks the built-in sample world through each kind of thing it holds, as
// the module meets them: through the host's own operations.

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "ContentTestSupport.h"
#include "devhost/content/WorldContent.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/VisibilityRule.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldLock.h"
#include "qxg/Shape.h"
#include "qxk/AnnoSetTable.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Instance.h"
#include "qxk/Selection.h"
#include "qxk/Shape.h"
#include "qxk/ShapeInstance.h"
#include "qxk/ShapeScene.h"
#include "qxk/Tree.h"
#include "qxk/Viewables.h"
#include "qxk/World.h"
#include "qxkapp/EcadApi.h"
#include "qxkapp/QxkApp.h"
#include "qxkapp/SceneManager.h"
#include "qxkapp/illustration/IllWebApi.h"
#include "qxkapp/illustration/NebulaWebIpc.h"
#include "qxkapp/illustration/SchWebApi.h"
#include "qxloader/FileEvent.h"
#include "qxloader/Loader.h"

namespace {

class SampleWorld : public ::testing::Test {
protected:
    void SetUp() override { world = devhost::LoadDefaultSampleWorld(); }

    support::CleanProcess clean;
    du::SmartPtr<devhost::WorldModel> world;
};

struct ViewableCollector : qxk::BaseInstanceVisitor {
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& node, unsigned int) override {
        auto instance = du::DynamicCast<qxk::Instance>(node);
        if (!instance) return true;
        du::SmartPtr<qxk::ComponentNode> component;
        instance->GetComponentNode(component);
        if (!component) return true;
        std::vector<du::SmartPtr<qxk::ViewableSource>> sources;
        component->GetViewableSources(sources);
        for (const auto& source : sources) Note(instance, source);
        return true;
    }
    void Note(const du::SmartPtr<qxk::Instance>& instance, const du::SmartPtr<qxk::ViewableSource>& source) {
        if (auto illustrate = du::DynamicCast<qxk::IllustrateSource>(source)) {
            ++illustrates;
            for (const auto& nested : illustrate->GetViewableSources()) Note(instance, nested);
            return;
        }
        names.push_back(source->GetDisplayName().str());
        if (auto figure = du::DynamicCast<qxk::Illustration3dSource>(source)) {
            ++figures;
            if (!figure->GetThumbnailSource().IsNull()) thumbnails.push_back({instance, figure->GetThumbnailSource()});
        }
    }
    std::vector<std::string> names;
    int illustrates = 0;
    int figures = 0;
    std::vector<std::pair<du::SmartPtr<qxk::Instance>, du::Symbol>> thumbnails;
};

class ThumbnailEvent : public qxloader::FileEvent {
public:
    void OnComplete(int status) override {
        this->status = status;
        thread = std::this_thread::get_id();
    }
    int status = -1;
    std::thread::id thread;
};

}  // namespace

TEST_F(SampleWorld, TreeHasSeveralLevelsProxiesAndEveryVisibilityStateFromOneToSix) {
    auto tree = world->tree;
    ASSERT_TRUE(tree);
    EXPECT_TRUE(tree->FindInstance("drone/propulsion/motor_1/rotor"));
    EXPECT_TRUE(tree->FindInstance("drone/camera_gimbal")->IsExpandableProxy());
    EXPECT_TRUE(tree->FindInstance("drone/landing_gear")->IsProxy());

    auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("Model"));
    ASSERT_TRUE(scene);
    std::set<int> states;
    devhost::WorldGuard guard(devhost::WorldMutex());
    std::vector<devhost::InstanceNode*> stack;
    for (const auto& root : world->Tree().roots) stack.push_back(root.get());
    while (!stack.empty()) {
        devhost::InstanceNode* node = stack.back();
        stack.pop_back();
        states.insert(devhost::VisibilityStateOf(scene.get(), *node));
        for (const auto& child : node->children) stack.push_back(child.get());
    }
    for (int state = 1; state <= 6; ++state) EXPECT_TRUE(states.count(state)) << "state " << state;
}

TEST_F(SampleWorld, ActiveViewsSelectionHasItemsWithoutRepresentationAndFieldsThatFail) {
    auto view = qxkapp::QxkApp::Get()->GetSceneManager()->GetActiveView();
    ASSERT_TRUE(view);
    du::SmartPtr<qxk::Scene> scene;
    view->GetScene(scene);
    du::SmartPtr<qxk::SelectionManager> selection;
    scene->GetSelectionManager(selection);
    ASSERT_TRUE(selection);
    std::vector<du::SmartPtr<qxk::SelectionItem>> items;
    ASSERT_TRUE(selection->GetSelectedItems(0, du::Symbol::EMPTY, items, qxk::ExpandAsSelected));
    ASSERT_EQ(4u, items.size());
    EXPECT_FALSE(items[2]->GetRepresentation());

    auto object = items[0]->GetRepresentation();
    EXPECT_EQ("objectselectionitem", object->GetContentType().str());
    std::vector<du::Symbol> names;
    object->GetFieldNames(names);
    ASSERT_EQ(3u, names.size());
    EXPECT_EQ("instance", names[0].str());  // the host's order, as written
    EXPECT_EQ("pick_point", names[2].str());

    auto geometry = items[1]->GetRepresentation();
    std::string value = "unchanged";
    EXPECT_FALSE(geometry->GetField("geom_aeid", value));
    EXPECT_EQ("unchanged", value);
    EXPECT_TRUE(geometry->GetField("geom_id", value));
    EXPECT_EQ("note_pitch", value);
}

TEST_F(SampleWorld, ViewablesOfTheThreeKindsWithRealPngThumbnailsFetchedFromTheWorldsFolder) {
    ViewableCollector collector;
    world->tree->Visit(collector, qxk::BaseTree::VT_DepthFirst);
    EXPECT_EQ(1, collector.illustrates);
    // Every figure of the default set has a thumbnail, so that a client's
    // viewables request is answered; the others stand in further sets.
    EXPECT_EQ(3, collector.figures);
    EXPECT_NE(collector.names.end(), std::find(collector.names.begin(), collector.names.end(), "Parts list"));
    ASSERT_EQ(3u, collector.thumbnails.size());

    ctest::Actor actor;
    auto loader = qxloader::Loader::GetLoader();
    ASSERT_TRUE(loader);
    std::vector<du::SmartPtr<ThumbnailEvent>> events;
    for (const auto& thumbnail : collector.thumbnails) {
        du::SmartPtr<qxk::Anchor> anchor;
        thumbnail.first->GetAnchor(anchor);
        ASSERT_TRUE(anchor);
        du::Symbol url;
        ASSERT_TRUE(anchor->GetURLForFileSource(thumbnail.second, url, false));
        du::SmartPtr<ThumbnailEvent> event(new ThumbnailEvent);
        actor.Manage(event);
        events.push_back(event);
        actor.Run([&] {
            EXPECT_TRUE(loader->GetFileForUrl(url, thumbnail.second, event.get(), true, false, du::Symbol::EMPTY,
                                              du::Symbol::EMPTY));
        });
    }
    ASSERT_TRUE(actor.SettleUntil([&] {
        for (const auto& e : events)
            if (e->status < 0) return false;
        return true;
    }));
    for (const auto& event : events) {
        EXPECT_EQ(0, event->status);
        EXPECT_EQ(actor.ThreadId(), event->thread);
        std::FILE* file = std::fopen(event->GetLocalPath().safe_c_str(), "rb");
        ASSERT_NE(nullptr, file) << event->GetLocalPath();
        unsigned char signature[8] = {};
        EXPECT_EQ(8u, std::fread(signature, 1, 8, file));
        std::fclose(file);
        EXPECT_EQ(0x89, signature[0]);
        EXPECT_EQ('P', signature[1]);
    }
}

TEST_F(SampleWorld, ShapesWithMarkupsAndOneShapeSharedByTwoInstances) {
    auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("Model"));
    du::SmartPtr<qxk::ShapeInstance> first, second;
    ASSERT_TRUE(scene->GetShapeInstance(world->tree->FindInstance("drone/propulsion/prop_1"), first));
    ASSERT_TRUE(scene->GetShapeInstance(world->tree->FindInstance("drone/propulsion/prop_2"), second));
    du::SmartPtr<qxk::Shape> a, b;
    first->GetShape(a);
    second->GetShape(b);
    ASSERT_TRUE(a);
    EXPECT_EQ(a, b);
    du::SmartPtr<qxg::Shape> data;
    a->GetShapeData(data);
    ASSERT_TRUE(data);
    EXPECT_TRUE(dynamic_cast<qxg::Markup*>(a->GetObject("note_pitch")));
}

TEST_F(SampleWorld, AnnotationSetsModulesAndViewsOfSeveralKinds) {
    auto table = world->GetAnnoSetTable();
    ASSERT_TRUE(table);
    std::vector<du::SmartPtr<qxk::AnnoSetTableEntry>> entries;
    table->GetEntries(entries, qxk::AnnoSetContentAll);
    ASSERT_EQ(4u, entries.size());
    EXPECT_EQ("model", entries[0]->GetPropName().str());

    auto loader = qxloader::Loader::GetLoader();
    du::SmartPtr<du::RefCounted> module;
    ASSERT_TRUE(loader->LoadModule("ecadapi", "ecad", "ecadapi", module));
    EXPECT_TRUE(du::DynamicCast<qxkapp::EcadApi>(module));
    ASSERT_TRUE(loader->LoadModule("webipc", "ipc", "default", module));
    EXPECT_TRUE(du::DynamicCast<qxkapp::illustration::NebulaWebIpc>(module));
    ASSERT_TRUE(loader->LoadModule("webapi", "illustrate", "default", module));
    EXPECT_TRUE(du::DynamicCast<qxkapp::illustration::IllWebApi>(module));
    EXPECT_FALSE(du::DynamicCast<qxkapp::illustration::SchWebApi>(module));
    ASSERT_TRUE(loader->LoadModule("webapi", "schematic", "default", module));
    EXPECT_TRUE(du::DynamicCast<qxkapp::illustration::SchWebApi>(module));

    std::set<unsigned int> kinds;
    for (const auto& view : qxkapp::QxkApp::Get()->GetSceneManager()->GetViews()) kinds.insert(view->GetClassNumber());
    EXPECT_GE(kinds.size(), 8u);
    EXPECT_TRUE(kinds.count(0x34) && kinds.count(0x4e) && kinds.count(0x7f) && kinds.count(0x66));
}
