// A tree observer handle that decodes to nothing: a null handle, or a handle
// of an object that is no tree observer, which the dispatcher hands on as a
// null reference. Tree documents would have no receiver, so the module must
// not start publishing for it, and must take a real observer afterwards.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CleanProcess.h"
#include "PluginClient.h"
#include "devhost/platform/RawMessages.h"

namespace rtest {
namespace {

constexpr short kRegisterTreeObserver = 14;

class ObserverHandle : public ::testing::Test {
protected:
    void Register(const devhost::HandleValue& handle) {
        devhost::SendRawMessage(plugin.ModuleObject(), 0, kRegisterTreeObserver, {handle}, true);
        plugin.Settle();
    }
    void ExpectARealObserverIsTakenAfterwards() {
        ASSERT_TRUE(plugin.Serves());
        plugin.Module().RegisterTreeObserver(plugin.Observer());
        plugin.Settle();
        const std::vector<std::string> calls = treeCalls.Calls();
        ASSERT_FALSE(calls.empty());
        EXPECT_EQ(calls.front(), "OnTreeMappingBegin");
    }

    support::CleanProcess clean;
    const du::SmartPtr<devhost::WorldModel> world = support::LoadWorld("");
    support::CallRecorder treeCalls;
    support::PluginClient plugin{treeCalls.Sink()};
};

TEST_F(ObserverHandle, NullHandleRegistersNothing) {
    Register(devhost::MakeHandle(nullptr, 0));
    ExpectARealObserverIsTakenAfterwards();
}

TEST_F(ObserverHandle, HandleOfAnotherInterfaceRegistersNothing) {
    Register(devhost::MakeHandle(plugin.Viewables(), 0));
    ExpectARealObserverIsTakenAfterwards();
}

}  // namespace
}  // namespace rtest
