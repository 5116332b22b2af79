// The actor's name follows the world that exists when it is first asked
// for, and never changes afterwards.
#include <gtest/gtest.h>

#include "RecordingModule.h"
#include "devhost/world/WorldModel.h"
#include "dom/ManagedObject.h"
#include "du/Symbol.h"

namespace mtest {
namespace {

class ActorNameTest : public ::testing::Test {
protected:
    void TearDown() override { devhost::DropWorld(); }
};

TEST_F(ActorNameTest, NameEndsWithTheWorldsActorName) {
    devhost::MakeWorld("Viewer-7");
    RecordingHost host("web", "api");
    ASSERT_TRUE(host.Start(true));
    EXPECT_EQ(host.GetActorName(), "WebApiModuleThread-Viewer-7");
    du::SmartPtr<dom::ManagedObject> module;
    EXPECT_TRUE(dom::ManagedObject::FindActor(du::Symbol("WebApiModuleThread-Viewer-7"),
                                              du::Symbol("webapi::WebApiModule"), module));
}

TEST_F(ActorNameTest, WorldThatComesLaterChangesNothing) {
    devhost::DropWorld();
    RecordingHost host("web", "api");
    ASSERT_TRUE(host.Start(true));
    EXPECT_EQ(host.GetActorName(), "WebApiModuleThread-");
    devhost::MakeWorld("Viewer-8");
    EXPECT_EQ(host.GetActorName(), "WebApiModuleThread-");
}

}  // namespace
}  // namespace mtest
