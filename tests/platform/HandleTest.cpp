#include <gtest/gtest.h>

#include "CounterInterface.h"
#include "TestActor.h"
#include "devhost/platform/Faults.h"
#include "devhost/platform/PeerHosts.h"
#include "devhost/platform/RawMessages.h"
#include "dom/Exceptions.h"
#include "dom/Helper.h"
#include "dom/MessageReader.h"

namespace {

using devhost::MessageValue;

// An object that is managed but offers no interface a client asks for.
struct Plain : dom::ManagedObject {};

// The Counter of a peer host that declares its methods in another order,
// Note, Add, Echo, and has no Relay. It answers Add with ten times the amount.
struct PeerCounter : dom::ManagedObject {
    short BaseClassOffsetByName(const du::Symbol& name) const override { return name == ptest::kCounterName ? 0 : -1; }
    void HandleMessage(const dom::MessagePtr& message) override {
        tags.push_back(message->GetTag());
        dom::MessageReader reader(message);
        int amount = 0;
        if (message->GetTag() != 1 || !reader.GetInt32Value(amount)) {
            dom::PrepMessageForReturnBadTag(message);
            return;
        }
        dom::MessageWriter reply;
        reply.StartMessageReply(message);
        reply.PushInt32Value(amount * 10);
        reply.FinaliseMessage();
    }
    std::vector<short> tags;
};

dom::MessagePtr MessageWithHandle(const du::SmartPtr<dom::ManagedObject>& sender,
                                  const du::SmartPtr<dom::ManagedObject>& object, short table) {
    dom::MessageWriter writer = sender->StartNewMessage(0);
    dom::Helper helper(sender);
    EXPECT_TRUE(helper.PushHandleValue(object, table, writer));
    writer.PushInt32Value(1);
    return writer.FinaliseMessage();
}

}  // namespace

class Handles : public ::testing::Test {
protected:
    ptest::CounterFactoryRegistration registration;
    du::SmartPtr<ptest::CounterServer> server{new ptest::CounterServer};
    ptest::RunningActor actor{server, "Handles.Counter"};
};

TEST_F(Handles, AHandleDecodesToAProxyBoundToTheObject) {
    dom::MessagePtr message = MessageWithHandle(server, server, 0);
    dom::MessageReader reader(message);
    dom::Helper helper(server);
    du::SmartPtr<dom::ManagedObject> decoded;
    ASSERT_TRUE(helper.GetHandleValue(decoded, ptest::kCounterName, reader));
    du::SmartPtr<ptest::Counter> counter = du::DynamicCast<ptest::Counter>(decoded);
    ASSERT_TRUE(counter);
    EXPECT_NE(dynamic_cast<dom::ProxyObject*>(decoded.get()), nullptr);
    EXPECT_EQ(counter->Add(3), 3);
    EXPECT_EQ(server->total.load(), 3);
    // A proxy pushed on names the object it stands for.
    EXPECT_EQ(devhost::MakeHandle(decoded, 5).object, devhost::MakeHandle(server, 0).object);
    int after = 0;
    EXPECT_TRUE(reader.GetInt32Value(after));
}

TEST_F(Handles, NullHandlesWrongValuesAndMissingFactories) {
    dom::Helper helper(server);
    du::SmartPtr<dom::ManagedObject> decoded(server);
    {
        dom::MessagePtr message = MessageWithHandle(server, nullptr, 0);
        dom::MessageReader reader(message);
        EXPECT_TRUE(helper.GetHandleValue(decoded, ptest::kCounterName, reader));
        EXPECT_FALSE(decoded);
    }
    {
        dom::MessagePtr message = MessageWithHandle(server, server, 0);
        dom::MessageReader reader(message);
        EXPECT_FALSE(helper.GetHandleValue(decoded, "ptest::Unknown", reader));
        EXPECT_EQ(reader.GetPosition(), 0u);
        int value = 0;
        EXPECT_FALSE(reader.GetInt32Value(value));
        ASSERT_TRUE(helper.GetHandleValue(decoded, ptest::kCounterName, reader));
        EXPECT_FALSE(helper.GetHandleValue(decoded, ptest::kCounterName, reader));
    }
}

TEST_F(Handles, ATargetWithoutTheInterfaceGivesAnUntypedProxy) {
    du::SmartPtr<Plain> plain(new Plain);
    ptest::TestActor plainActor(plain, "Handles.Plain");
    dom::MessagePtr message = MessageWithHandle(server, plain, 0);
    dom::MessageReader reader(message);
    du::SmartPtr<dom::ManagedObject> decoded;
    ASSERT_TRUE(dom::Helper(server).GetHandleValue(decoded, ptest::kCounterName, reader));
    ASSERT_TRUE(decoded);
    EXPECT_NE(dynamic_cast<dom::ProxyObject*>(decoded.get()), nullptr);
    EXPECT_FALSE(du::DynamicCast<ptest::Counter>(decoded));

    // A proxy that cannot be made fails the read, typed or not, without a throw.
    for (const du::SmartPtr<dom::ManagedObject>& target : {du::SmartPtr<dom::ManagedObject>(plain),
                                                           du::SmartPtr<dom::ManagedObject>(server)}) {
        dom::MessagePtr again = MessageWithHandle(server, target, 0);
        dom::MessageReader againReader(again);
        devhost::ArmFault("du::CommonAllocatorImpl::Allocate", {devhost::FaultKind::Fail, "", 1});
        EXPECT_FALSE(dom::Helper(server).GetHandleValue(decoded, ptest::kCounterName, againReader));
        EXPECT_EQ(againReader.GetPosition(), 0u);
        EXPECT_TRUE(dom::Helper(server).GetHandleValue(decoded, ptest::kCounterName, againReader));
    }
}

TEST_F(Handles, ProxiesToAVanishedObjectFailAsInvalidActors) {
    du::SmartPtr<dom::ManagedObject> proxy;
    {
        du::SmartPtr<ptest::CounterServer> gone(new ptest::CounterServer);
        ptest::TestActor goneActor(gone, "Handles.Gone");
        ASSERT_TRUE(dom::ManagedObject::FindActor("Handles.Gone", ptest::kCounterName, proxy));
    }
    EXPECT_THROW(du::DynamicCast<ptest::Counter>(proxy)->Add(1), dom::InvalidActorException);
    EXPECT_FALSE(dom::ManagedObject::FindActor("Handles.Nobody", ptest::kCounterName, proxy));
}

TEST_F(Handles, TheFactoryRegisteredLastIsFound) {
    ptest::CounterFactoryRegistration later;
    EXPECT_EQ(dom::ProxyFactoryMap::Instance().FindFactory(ptest::kCounterName), later.factory);
    dom::ProxyFactoryMap::Instance().RemoveFactory(later.factory);
    EXPECT_EQ(dom::ProxyFactoryMap::Instance().FindFactory(ptest::kCounterName), registration.factory);
    dom::ProxyFactoryMap::Instance().AddFactory(later.factory);
}

TEST_F(Handles, ProxiesForAPermutedPeerRebindBySignature) {
    devhost::RegisterPeerInterface(7, ptest::kCounterName, {"Note__IS", "Add__Il", "Echo__IS"});
    EXPECT_EQ(registration.factory->GetRebindTableForHost(7), (std::vector<int>{1, 2, 0, -1}));
    EXPECT_EQ(registration.factory->GetRebindTableForHost(0), (std::vector<int>{0, 1, 2, 3}));

    du::SmartPtr<PeerCounter> peer(new PeerCounter);
    ptest::TestActor peerActor(peer, "Handles.Peer");
    devhost::SetQueueHost(peerActor.queue, 7);
    peerActor.Start();
    EXPECT_EQ(devhost::MakeHandle(peer, 0).host, 7u);

    du::SmartPtr<dom::ManagedObject> proxy;
    ASSERT_TRUE(dom::ManagedObject::FindActor("Handles.Peer", ptest::kCounterName, proxy));
    du::SmartPtr<ptest::Counter> counter = du::DynamicCast<ptest::Counter>(proxy);
    ASSERT_TRUE(counter);
    EXPECT_EQ(counter->Add(4), 40);
    // The peer lacks Relay: the message goes out with tag -1 and is refused.
    EXPECT_THROW(counter->Relay(nullptr), dom::MessageProtocolException);
    EXPECT_EQ(counter->Add(1), 10);
    peerActor.queue->ShutdownQueue(dom::MessageQueue::SM_Immediate);
    peerActor.Join();
    EXPECT_EQ(peer->tags, (std::vector<short>{1, -1, 1}));
}
