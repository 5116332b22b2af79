// The loader: asynchronous fetches from the world's folder that complete on
// the actor of their event, fetch rules, and optional modules by name.

#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CleanProcess.h"
#include "ContentTestSupport.h"
#include "TestWorlds.h"
#include "devhost/content/ContentWorldFile.h"
#include "devhost/content/WorldContent.h"
#include "devhost/platform/Faults.h"
#include "qxkapp/EcadApi.h"
#include "qxloader/FileEvent.h"
#include "qxloader/Loader.h"

namespace {

struct Arrivals {
    std::mutex mutex;
    std::vector<std::string> order;
};

class NamedEvent : public qxloader::FileEvent {
public:
    NamedEvent(std::string name, Arrivals& arrivals) : name(std::move(name)), arrivals(arrivals) {}
    void OnComplete(int completion) override {
        std::lock_guard<std::mutex> lock(arrivals.mutex);
        status = completion;
        thread = std::this_thread::get_id();
        arrivals.order.push_back(name);
    }
    const std::string name;
    Arrivals& arrivals;
    int status = -1;
    std::thread::id thread;
};

class Loader : public ::testing::Test {
protected:
    void Load(const std::string& sections) {
        folder.Write("a.png", "first");
        folder.Write("b.png", "second");
        folder.Write("c.png", "third");
        folder.Write("world.json", ctest::SmallWorld(sections));
        devhost::LoadContentWorldFile(folder.Path() + "/world.json");
    }

    // Starts a fetch of a file source on the actor, of the world's folder
    // unless a URL is given.
    du::SmartPtr<NamedEvent> Fetch(const std::string& source, const std::string& otherUrl = "") {
        du::SmartPtr<NamedEvent> event(new NamedEvent(source, arrivals));
        actor.Manage(event);
        actor.Run([&] {
            du::Symbol url(otherUrl.empty() ? "file://" + folder.Path() + "/" + source : otherUrl);
            EXPECT_TRUE(qxloader::Loader::GetLoader()->GetFileForUrl(url, du::Symbol(source), event.get(), true, false,
                                                                     du::Symbol::EMPTY, du::Symbol::EMPTY));
        });
        return event;
    }
    std::vector<std::string> Order() {
        std::lock_guard<std::mutex> lock(arrivals.mutex);
        return arrivals.order;
    }
    bool Arrived(std::size_t count) {
        return actor.SettleUntil([&] { return Order().size() >= count; });
    }

    support::CleanProcess clean;
    ctest::TempFolder folder;
    ctest::Actor actor;
    Arrivals arrivals;
};

}  // namespace

TEST_F(Loader, FetchCompletesLaterOnTheEventsActorWithTheLocalPath) {
    Load("");
    auto event = Fetch("a.png");
    ASSERT_TRUE(Arrived(1));
    EXPECT_EQ(0, event->status);
    EXPECT_EQ(actor.ThreadId(), event->thread);
    EXPECT_EQ(folder.Path() + "/a.png", event->GetLocalPath().str());
}

TEST_F(Loader, FailingMissingAndOutsideFilesCompleteWithAnErrorAndLeaveThePath) {
    Load(R"(, "loader": { "fetches": { "a.png": "fail" } })");
    auto failed = Fetch("a.png");
    auto missing = Fetch("nowhere.png");
    ctest::TempFolder elsewhere;
    elsewhere.Write("b.png", "not the world's");
    auto outside = Fetch("b.png", "file://" + elsewhere.Path() + "/b.png");
    ASSERT_TRUE(Arrived(3));
    EXPECT_NE(0, failed->status);
    EXPECT_NE(0, missing->status);
    EXPECT_NE(0, outside->status);
    EXPECT_TRUE(failed->GetLocalPath().IsNull());
    EXPECT_TRUE(missing->GetLocalPath().IsNull());
}

TEST_F(Loader, HeldFetchesArriveInTheOrderTheTestReleasesThem) {
    Load(R"(, "loader": { "fetches": { "a.png": "held", "b.png": "held", "c.png": "held" } })");
    Fetch("a.png");
    Fetch("b.png");
    Fetch("c.png");
    actor.SettleUntil([] { return false; });
    EXPECT_TRUE(Order().empty());
    auto loader = devhost::CurrentContent()->OwnLoader();
    EXPECT_TRUE(loader->ReleaseFetch(2));
    EXPECT_TRUE(loader->ReleaseFetch(0));
    EXPECT_TRUE(loader->ReleaseFetch(1, false));
    EXPECT_FALSE(loader->ReleaseFetch(1));  // already on its way
    ASSERT_TRUE(Arrived(3));
    EXPECT_EQ((std::vector<std::string>{"c.png", "a.png", "b.png"}), Order());
    EXPECT_NE(0, loader->Fetches()[1].status);
}

TEST_F(Loader, AFetchWaitsForTheOneItIsToArriveAfterAndANeverFetchNeverArrives) {
    Load(R"(, "loader": { "fetches": { "a.png": { "after": "b.png" }, "c.png": "never" } })");
    Fetch("c.png");
    Fetch("a.png");
    actor.SettleUntil([] { return false; });
    EXPECT_TRUE(Order().empty());
    Fetch("b.png");
    ASSERT_TRUE(Arrived(2));
    actor.SettleUntil([] { return false; });
    EXPECT_EQ((std::vector<std::string>{"b.png", "a.png"}), Order());
    auto fetches = devhost::CurrentContent()->OwnLoader()->Fetches();
    ASSERT_EQ(3u, fetches.size());
    EXPECT_FALSE(fetches[0].completed);
}

TEST_F(Loader, AWorldCanHaveNoLoaderAndFaultsMakeItFail) {
    Load(R"(, "loader": { "present": false })");
    EXPECT_FALSE(qxloader::Loader::GetLoader());
    devhost::CurrentContent()->SetLoaderPresent(true);
    ASSERT_TRUE(qxloader::Loader::GetLoader());
    devhost::ArmFault("qxloader::Loader::GetFileForUrl", {devhost::FaultKind::Fail, "", 1});
    du::SmartPtr<NamedEvent> event(new NamedEvent("a.png", arrivals));
    EXPECT_FALSE(qxloader::Loader::GetLoader()->GetFileForUrl("file:///x", "a.png", event.get(), true, false,
                                                              du::Symbol::EMPTY, du::Symbol::EMPTY));
    EXPECT_TRUE(devhost::CurrentContent()->OwnLoader()->Fetches().empty());
    devhost::ArmFault("qxloader::Loader::GetLoader", {devhost::FaultKind::Fail, "", 1});
    EXPECT_FALSE(qxloader::Loader::GetLoader());
}

TEST_F(Loader, ModulesLoadByTheirThreeNamesOnlyWhenTheWorldHasThemAndRecordTheirCalls) {
    Load(R"(, "modules": { "ecadapi": true, "webipc": false })");
    auto loader = qxloader::Loader::GetLoader();
    du::SmartPtr<du::RefCounted> module;
    EXPECT_FALSE(loader->LoadModule("webipc", "ipc", "default", module));
    EXPECT_FALSE(module);
    EXPECT_FALSE(loader->LoadModule("ecadapi", "ecadapi", "ecad", module));  // names in the wrong places
    ASSERT_TRUE(loader->LoadModule("ecadapi", "ecad", "ecadapi", module));
    du::DynamicCast<qxkapp::EcadApi>(module)->FlyToSelected(nullptr, 7);
    auto calls = devhost::CurrentContent()->ModuleCalls()->Calls();
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ("FlyToSelected", calls[0].method);
    EXPECT_EQ(7, calls[0].flags);
    auto loads = devhost::CurrentContent()->OwnLoader()->ModuleLoads();
    ASSERT_EQ(3u, loads.size());
    EXPECT_TRUE(std::get<3>(loads[2]));
}
