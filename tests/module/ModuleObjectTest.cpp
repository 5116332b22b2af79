// The module object as the messaging layer sees it: the interface it names,
// and what it sets up when it comes under management.
#include <gtest/gtest.h>

#include "RecordingModule.h"
#include "devhost/world/Application.h"
#include "dom/MessageQueue.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace mtest {
namespace {

class ModuleObjectTest : public ::testing::Test {
protected:
    void TearDown() override {
        if (queue) queue->ShutdownQueue(dom::MessageQueue::SM_Immediate);
        devhost::DropApplication();
    }

    // Binds a new module to a queue of its own, as the actor's start-up does.
    du::SmartPtr<RecordingModule> ManagedModule() {
        du::SmartPtr<RecordingModule> module(new RecordingModule);
        queue = new dom::GenericMessageQueue;
        module->AttachQueue(queue);
        return module;
    }

    du::SmartPtr<dom::MessageQueue> queue;
};

TEST_F(ModuleObjectTest, NamesTheServiceInterfaceOnly) {
    const du::SmartPtr<RecordingModule> module(new RecordingModule);
    EXPECT_EQ(module->BaseClassOffsetByName(du::Symbol("webapi::WebApiModule")), 0);
    EXPECT_EQ(module->BaseClassOffsetByName(du::Symbol("webapi::TreeObserver")), -1);
    EXPECT_EQ(module->BaseClassOffsetByName(du::Symbol("webapi::WebApiModuleLocalImpl")), -1);
    EXPECT_EQ(module->GetBaseClassCount(), 1);
    EXPECT_EQ(module->GetBaseClassParent(0), -1);
    EXPECT_EQ(module->GetBaseClass(0), "webapi::WebApiModule");
    EXPECT_EQ(module->GetBaseClass(1), du::Symbol::EMPTY);
    EXPECT_EQ(module->GetBaseClass(-1), du::Symbol::EMPTY);
    EXPECT_EQ(module->GetTableOffset(0), 0);
}

TEST_F(ModuleObjectTest, ManagementBringsTheApplicationsSceneManagerAndAManagedLoader) {
    devhost::ApplicationImpl& app = devhost::MakeApplication();
    const du::SmartPtr<RecordingModule> module = ManagedModule();
    EXPECT_EQ(module->SceneManagerField().get(), app.sceneManager.get());
    ASSERT_TRUE(module->SceneLoaderField());
    EXPECT_TRUE(module->SceneLoaderField()->IsManaged());
}

// Without an application the loader is still made, and finds no scene.
TEST_F(ModuleObjectTest, LoaderIsMadeAlsoWithoutAnApplication) {
    devhost::DropApplication();
    const du::SmartPtr<RecordingModule> module = ManagedModule();
    EXPECT_FALSE(module->SceneManagerField());
    ASSERT_TRUE(module->SceneLoaderField());
    EXPECT_TRUE(module->SceneLoaderField()->IsManaged());
}

}  // namespace
}  // namespace mtest
