// The client's receivers for the module's callbacks decode what arrives on
// the client's own actor thread, and refuse what does not fit.

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/platform/RawMessages.h"
#include "dom/Exceptions.h"

namespace {

using devhost::ReceivedCall;

class CallbackReceiverTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto sink = [this](const ReceivedCall& call) {
            std::lock_guard<std::mutex> hold(lock);
            calls.push_back(call.method + "(" + Join(call.arguments) + ")");
            threads.push_back(std::this_thread::get_id());
        };
        observer = new devhost::TreeObserverReceiver(sink);
        viewables = new devhost::ViewablesRequestReceiver(sink);
        ASSERT_TRUE(client.Adopt(observer));
        ASSERT_TRUE(client.Adopt(viewables));
    }

    static std::string Join(const std::vector<std::string>& parts) {
        std::string text;
        for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
        return text;
    }

    std::vector<std::string> Calls() {
        client.Settle();
        std::lock_guard<std::mutex> hold(lock);
        return calls;
    }

    devhost::ClientActor client{"ReceiverTestClient"};
    du::SmartPtr<devhost::TreeObserverReceiver> observer;
    du::SmartPtr<devhost::ViewablesRequestReceiver> viewables;
    std::mutex lock;
    std::vector<std::string> calls;
    std::vector<std::thread::id> threads;
};

TEST_F(CallbackReceiverTest, DecodesEachCallbackOnTheClientsThread) {
    devhost::SendRawMessage(observer, 0, 0, {}, false);
    devhost::SendRawMessage(observer, 0, 1, {du::Symbol("{\"treeMapping\":[]}")}, false);
    devhost::SendRawMessage(observer, 0, 4, {du::Symbol()}, false);
    devhost::SendRawMessage(observer, 0, 5, {}, false);
    devhost::SendRawMessage(viewables, 0, 1, {du::Symbol("v"), std::int32_t{7}}, false);
    devhost::SendRawMessage(viewables, 0, 2, {std::int32_t{-1}}, false);

    EXPECT_EQ(Calls(), (std::vector<std::string>{"OnTreeMappingBegin()", "OnTreeMapping({\"treeMapping\":[]})",
                                                 "OnTreeUpdate((null))", "OnTreeUpdateEnd()", "ViewablesResult(v, 7)",
                                                 "EndViewablesResult(-1)"}));
    std::lock_guard<std::mutex> hold(lock);
    for (const std::thread::id& thread : threads) {
        EXPECT_NE(thread, std::this_thread::get_id());
        EXPECT_EQ(thread, threads.front());
    }
}

TEST_F(CallbackReceiverTest, RefusesUnknownIdsAndValuesOfTheWrongType) {
    EXPECT_THROW(devhost::SendRawMessage(observer, 0, 6, {}, true), dom::MessageProtocolException);
    EXPECT_THROW(devhost::SendRawMessage(observer, 0, -1, {}, true), dom::MessageProtocolException);
    EXPECT_THROW(devhost::SendRawMessage(viewables, 0, 0, {du::Symbol("7")}, true), dom::MessageProtocolException);
    EXPECT_THROW(devhost::SendRawMessage(viewables, 0, 1, {du::Symbol("v")}, true), dom::MessageProtocolException);
    EXPECT_TRUE(Calls().empty());
}

}  // namespace
