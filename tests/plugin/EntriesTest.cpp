// The plug-in as the host drives it: through its three entries, and then
// only through the messaging layer, as a client actor on another thread.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "ProcessState.h"
#include "devhost/client/PluginLibrary.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/RawMessages.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/world/HostWorker.h"
#include "dom/Exceptions.h"
#include "dom/ManagedObject.h"
#include "dom/Proxy.h"
#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/ActiveModule.h"
#include "remote/WebApiModule.h"

namespace ptest {
namespace {

// Tells when the last reference to it went.
class Token : public du::RefCounted {
public:
    explicit Token(bool& gone) : gone(gone) {}
    ~Token() override { gone = true; }

private:
    bool& gone;
};

du::Symbol ActorNameOf(const du::SmartPtr<du::RefCounted>& component) {
    const auto* module = dynamic_cast<const qxk::ActiveModule*>(component.get());
    return module ? module->GetActorName() : du::Symbol();
}

int CountLines(const std::string& words) {
    int count = 0;
    for (const devhost::TraceEntry& entry : devhost::TraceLog::Entries())
        count += entry.text.find(words) != std::string::npos;
    return count;
}

class EntriesTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(plugin.IsLoaded()) << plugin.Error();
        ASSERT_TRUE(plugin.Init());
    }
    void TearDown() override { plugin.Terminate(); }

    bool Create(const std::string& a, const std::string& b, const std::string& c,
                du::SmartPtr<du::RefCounted>& component) {
        return plugin.CreateComponent(a, b, c, component);
    }

    devhost::PluginLibrary plugin{WEBAPI_PLUGIN_PATH};
};

TEST_F(EntriesTest, OnlyTheExactThreeWordsMatch) {
    du::SmartPtr<du::RefCounted> component;
    EXPECT_TRUE(Create("world", "web", "api", component));
    EXPECT_EQ(ActorNameOf(component), "WebApiModuleThread-");
    const std::vector<std::vector<std::string>> others = {
        {"World", "web", "api"}, {"worlds", "web", "api"}, {"worl", "web", "api"}, {"", "web", "api"},
        {"world", "Web", "api"}, {"world", "web", "apix"}, {"world", "web", ""}};
    for (const auto& words : others) EXPECT_FALSE(Create(words[0], words[1], words[2], component)) << words[0];
}

TEST_F(EntriesTest, MismatchLeavesTheComponentAlone) {
    bool gone = false;
    du::SmartPtr<du::RefCounted> component(new Token(gone));
    du::RefCounted* const held = component.get();
    EXPECT_FALSE(Create("world", "web", "ap", component));
    EXPECT_EQ(component.get(), held);
    EXPECT_EQ(component->GetReferenceCount(), 1);
    EXPECT_FALSE(gone);
}

TEST_F(EntriesTest, EachMatchMakesANewObjectAndReleasesTheOld) {
    bool gone = false;
    du::SmartPtr<du::RefCounted> component(new Token(gone));
    ASSERT_TRUE(Create("world", "web", "api", component));
    EXPECT_TRUE(gone);
    du::SmartPtr<du::RefCounted> second;
    ASSERT_TRUE(Create("world", "web", "api", second));
    EXPECT_NE(component.get(), second.get());
    EXPECT_EQ(second->GetReferenceCount(), 1);
    EXPECT_EQ(ActorNameOf(component), ActorNameOf(second));
}

TEST(PluginTerminateTest, TerminateIsHarmlessWithoutAnActor) {
    devhost::PluginLibrary plugin(WEBAPI_PLUGIN_PATH);
    ASSERT_TRUE(plugin.IsLoaded());
    plugin.Terminate();
    ASSERT_TRUE(plugin.Init());
    plugin.Terminate();
    plugin.Terminate();
    EXPECT_TRUE(plugin.Unload());
}

// The component is the host's object, a name and nothing more: the loader
// may keep it after the module has ended and its library has gone.
TEST(PluginComponentTest, ComponentOutlivesTheLibrary) {
    du::SmartPtr<du::RefCounted> component;
    {
        devhost::PluginLibrary plugin(WEBAPI_PLUGIN_PATH);
        ASSERT_TRUE(plugin.IsLoaded());
        ASSERT_TRUE(plugin.Init());
        ASSERT_TRUE(plugin.CreateComponent("world", "web", "api", component));
        plugin.Terminate();
        ASSERT_TRUE(plugin.Unload());
    }
    EXPECT_EQ(ActorNameOf(component), "WebApiModuleThread-");
    component.reset();
}

// A thread that cannot start is the loader's to hear of: the object stays,
// still names its actor, and QXDllTerminate frees it without waiting.
TEST(PluginStartTest, FailedStartLeavesTheObjectUntilTerminate) {
    devhost::PluginLibrary plugin(WEBAPI_PLUGIN_PATH);
    ASSERT_TRUE(plugin.IsLoaded());
    devhost::TraceLog::Clear();
    devhost::ArmFault("dp::Thread::Start", devhost::Fault{devhost::FaultKind::Fail, "", 1});
    EXPECT_FALSE(plugin.Init());
    devhost::DisarmAllFaults();
    {
        du::SmartPtr<du::RefCounted> component;
        EXPECT_TRUE(plugin.CreateComponent("world", "web", "api", component));
        EXPECT_EQ(ActorNameOf(component), "WebApiModuleThread-");
        du::SmartPtr<dom::ManagedObject> found;
        EXPECT_FALSE(
            dom::ManagedObject::FindActor(ActorNameOf(component), du::Symbol("webapi::WebApiModule"), found));
    }
    plugin.Terminate();
    EXPECT_EQ(CountLines("shutting down queue"), 0);
    EXPECT_TRUE(plugin.Unload());
}

// Several whole lives of the plug-in in one process, each driven only
// through messages. Each leaves no thread, factory or library behind (and,
// under the address sanitizer, no leak).
TEST(PluginCycleTest, WholeLivesLeaveNothingBehind) {
    const du::Symbol serviceName("webapi::WebApiModule");
    // ThreadSanitizer starts a helper thread of its own with the first thread
    // of the process, and the host's worker, which unloading waits for, lasts
    // as long as the process; have both start before counting.
    std::thread([] {}).join();
    devhost::DrainHostWorker();
    const int threadsBefore = support::ThreadCount();
    devhost::TraceLog::Clear();
    for (int cycle = 1; cycle <= 3; ++cycle) {
        devhost::PluginLibrary plugin(WEBAPI_PLUGIN_PATH);
        ASSERT_TRUE(plugin.IsLoaded());
        ASSERT_NE(dom::ProxyFactoryMap::Instance().FindFactory(serviceName), nullptr);
        ASSERT_TRUE(plugin.Init());
        {
            du::SmartPtr<du::RefCounted> component;
            ASSERT_TRUE(plugin.CreateComponent("world", "web", "api", component));
            du::SmartPtr<dom::ManagedObject> found;
            ASSERT_TRUE(dom::ManagedObject::FindActor(ActorNameOf(component), serviceName, found));
            const du::SmartPtr<webapi::WebApiModule> module = du::DynamicCast<webapi::WebApiModule>(found);
            ASSERT_TRUE(module);
            EXPECT_TRUE(module->GetCurrentSelection().IsNull());
            EXPECT_EQ(module->GetNumberOfAnnotationSets(), 0u);
            module->LoadInstances(du::Symbol("[\"/1\"]"));
            EXPECT_THROW(devhost::SendRawMessage(found, 0, 30, {}, true), dom::MessageProtocolException);
        }
        plugin.Terminate();
        EXPECT_EQ(CountLines("shutting down queue"), cycle);
        EXPECT_TRUE(plugin.Unload());
        EXPECT_EQ(dom::ProxyFactoryMap::Instance().FindFactory(serviceName), nullptr);
        EXPECT_EQ(support::ThreadCount(), threadsBefore);
    }
}

}  // namespace
}  // namespace ptest
