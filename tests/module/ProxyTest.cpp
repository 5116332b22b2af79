// The proxies as the module's code uses them: what they put in a message,
// whether they wait, what they read back, and how they map ids for a peer.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "ModuleTestSupport.h"
#include "devhost/platform/PeerHosts.h"
#include "dom/ManagedObject.h"
#include "dom/Message.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "tests/platform/TestActor.h"
#include "remote/TreeObserver.h"
#include "remote/ViewablesRequest.h"
#include "remote/WebApiModule.h"

namespace mtest {
namespace {

const std::vector<std::string> kAllInterfaces = {"webapi::WebApiModule", "webapi::TreeObserver",
                                                 "webapi::ViewablesRequest"};

template <class I>
du::SmartPtr<I> ProxyOf(const char* actor, const char* interfaceName) {
    du::SmartPtr<dom::ManagedObject> proxy;
    EXPECT_TRUE(dom::ManagedObject::FindActor(du::Symbol(actor), du::Symbol(interfaceName), proxy));
    return du::DynamicCast<I>(proxy);
}

// The proxy's own table number, written into handles to it.
class LocalObserver : public webapi::TreeObserver, public dom::ManagedObject {
public:
    short GetTableOffset(int) override { return 3; }
    void OnTreeMappingBegin() override {}
    void OnTreeMapping(const du::Symbol&) override {}
    void OnTreeMappingEnd() override {}
    void OnTreeUpdateBegin() override {}
    void OnTreeUpdate(const du::Symbol&) override {}
    void OnTreeUpdateEnd() override {}
};

TEST(ProxyTest, ServiceWaitsForItsReplyAndCallbacksDoNot) {
    const du::SmartPtr<CaptureServer> server(new CaptureServer(kAllInterfaces, {}));
    const ptest::RunningActor serving(server, "CaptureServer");
    ProxyOf<webapi::WebApiModule>("CaptureServer", "webapi::WebApiModule")->RestoreInstancesVisibility();
    ProxyOf<webapi::TreeObserver>("CaptureServer", "webapi::TreeObserver")->OnTreeMapping(du::Symbol("doc"));
    ProxyOf<webapi::ViewablesRequest>("CaptureServer", "webapi::ViewablesRequest")->EndViewablesResult(9);
    ProxyOf<webapi::WebApiModule>("CaptureServer", "webapi::WebApiModule")->ZoomToAll(2);

    const auto messages = server->Messages();
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(messages[0].tag, 3);
    EXPECT_TRUE(messages[0].needsReply);
    EXPECT_EQ(Describe(messages[0].values), "");
    EXPECT_EQ(messages[1].tag, 1);
    EXPECT_FALSE(messages[1].needsReply);
    EXPECT_EQ(Describe(messages[1].values), "S:doc");
    EXPECT_EQ(messages[2].tag, 2);
    EXPECT_FALSE(messages[2].needsReply);
    EXPECT_EQ(Describe(messages[2].values), "I:9");
    EXPECT_EQ(messages[3].tag, 12);
    EXPECT_EQ(Describe(messages[3].values), "I:2");
}

TEST(ProxyTest, ArgumentsGoInSignatureOrder) {
    const du::SmartPtr<CaptureServer> server(new CaptureServer(kAllInterfaces, {}));
    const ptest::RunningActor serving(server, "CaptureServer");
    const auto module = ProxyOf<webapi::WebApiModule>("CaptureServer", "webapi::WebApiModule");
    module->SetInstancesColor({du::Symbol("a"), du::Symbol("b")}, true, du::Symbol("ff"));
    module->SetInstancesColor({}, false, du::Symbol());
    module->AddAnnotationLabel(du::Symbol("t"), 1.0, 2.0, 3.0);

    const auto messages = server->Messages();
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(Describe(messages[0].values), "U:2 S:a S:b B:true S:ff");
    EXPECT_EQ(Describe(messages[1].values), "U:0 B:false S:<null>");
    EXPECT_EQ(Describe(messages[2].values), "S:t D:1.000000 D:2.000000 D:3.000000");
}

TEST(ProxyTest, ReferenceCarriesItsTableAndNullHasTableZero) {
    const du::SmartPtr<CaptureServer> server(new CaptureServer(kAllInterfaces, {}));
    const ptest::RunningActor serving(server, "CaptureServer");
    const auto module = ProxyOf<webapi::WebApiModule>("CaptureServer", "webapi::WebApiModule");
    const du::SmartPtr<LocalObserver> observer(new LocalObserver);
    module->RegisterTreeObserver(nullptr);
    module->UnRegisterTreeObserver(observer);

    const auto messages = server->Messages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].tag, 14);
    EXPECT_EQ(Describe(messages[0].values), "H:0/0");
    EXPECT_EQ(messages[1].tag, 15);
    EXPECT_EQ(Describe(messages[1].values), "H:object/3");
}

TEST(ProxyTest, ResultsAndOutArgumentComeFromTheReply) {
    const du::SmartPtr<CaptureServer> texts(new CaptureServer(kAllInterfaces, {du::Symbol("reply")}));
    const du::SmartPtr<CaptureServer> numbers(new CaptureServer(kAllInterfaces, {std::uint32_t{4}}));
    const ptest::RunningActor textServing(texts, "TextServer");
    const ptest::RunningActor numberServing(numbers, "NumberServer");
    const auto textModule = ProxyOf<webapi::WebApiModule>("TextServer", "webapi::WebApiModule");
    const auto numberModule = ProxyOf<webapi::WebApiModule>("NumberServer", "webapi::WebApiModule");

    du::Symbol annotations("before");
    textModule->GetAllModelAnnotations(annotations);
    EXPECT_EQ(annotations, "reply");
    EXPECT_EQ(Describe(texts->Messages()[0].values), "");
    EXPECT_EQ(textModule->GetModelAnnotationColor(du::Symbol("1"), du::Symbol("2")), "reply");
    EXPECT_EQ(numberModule->GetNumberOfAnnotationSets(), 4u);
}

TEST(ProxyTest, MissingOrMistypedResultThrows) {
    const du::SmartPtr<CaptureServer> empty(new CaptureServer(kAllInterfaces, {}));
    const du::SmartPtr<CaptureServer> numbers(new CaptureServer(kAllInterfaces, {std::uint32_t{4}}));
    const ptest::RunningActor emptyServing(empty, "EmptyServer");
    const ptest::RunningActor numberServing(numbers, "NumberServer");
    const auto emptyModule = ProxyOf<webapi::WebApiModule>("EmptyServer", "webapi::WebApiModule");
    const auto numberModule = ProxyOf<webapi::WebApiModule>("NumberServer", "webapi::WebApiModule");

    try {
        emptyModule->GetProfiles();
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "ProtocolError extracting return value");
    }
    du::Symbol annotations;
    EXPECT_THROW(numberModule->GetAllModelAnnotations(annotations), std::runtime_error);
    EXPECT_THROW(emptyModule->GetNumberOfAnnotationSets(), std::runtime_error);
    // Without a result nothing is read.
    EXPECT_NO_THROW(numberModule->LoadInstances(du::Symbol("[]")));
}

TEST(ProxyTest, MessageToAProxyNamesItsClass) {
    const du::SmartPtr<CaptureServer> server(new CaptureServer(kAllInterfaces, {}));
    const ptest::RunningActor serving(server, "CaptureServer");
    const char* const classes[] = {"webapi_WebApiModule_proxy", "webapi_TreeObserver_proxy",
                                   "webapi_ViewablesRequest_proxy"};
    for (int i = 0; i < 3; ++i) {
        du::SmartPtr<dom::ManagedObject> proxy;
        ASSERT_TRUE(dom::ManagedObject::FindActor(du::Symbol("CaptureServer"), du::Symbol(kAllInterfaces[i]), proxy));
        try {
            proxy->HandleMessage(dom::MessagePtr(new dom::Message));
            FAIL() << "no exception";
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()),
                      std::string("Protocol Error:") + classes[i] + "::HandleMessage(const dom::MessagePtr&) called.");
        }
    }
}

TEST(ProxyTest, ProxyAnswersForItsOwnInterfaceOnly) {
    const du::SmartPtr<CaptureServer> server(new CaptureServer(kAllInterfaces, {}));
    const ptest::RunningActor serving(server, "CaptureServer");
    du::SmartPtr<dom::ManagedObject> proxy;
    ASSERT_TRUE(dom::ManagedObject::FindActor(du::Symbol("CaptureServer"), du::Symbol("webapi::TreeObserver"), proxy));
    EXPECT_EQ(proxy->BaseClassOffsetByName(du::Symbol("webapi::TreeObserver")), 0);
    EXPECT_EQ(proxy->BaseClassOffsetByName(du::Symbol("webapi::WebApiModule")), -1);
    EXPECT_EQ(proxy->GetBaseClass(0), "webapi::TreeObserver");
    EXPECT_EQ(proxy->GetBaseClass(1), du::Symbol::EMPTY);
}

// A peer that declares the observer's methods in reverse order gets each
// method under its own id.
TEST(ProxyTest, IdsAreReboundForAPeerHost) {
    constexpr unsigned int kPeer = 41;
    devhost::RegisterPeerInterface(
        kPeer, du::Symbol("webapi::TreeObserver"),
        {du::Symbol("OnTreeUpdateEnd"), du::Symbol("OnTreeUpdate__IS"), du::Symbol("OnTreeUpdateBegin"),
         du::Symbol("OnTreeMappingEnd"), du::Symbol("OnTreeMapping__IS"), du::Symbol("OnTreeMappingBegin")});
    const du::SmartPtr<CaptureServer> server(new CaptureServer(kAllInterfaces, {}));
    const ptest::RunningActor serving(server, "PeerObserver");
    devhost::SetQueueHost(serving.queue, kPeer);
    const auto observer = ProxyOf<webapi::TreeObserver>("PeerObserver", "webapi::TreeObserver");
    observer->OnTreeMappingBegin();
    observer->OnTreeUpdate(du::Symbol("doc"));
    ProxyOf<webapi::WebApiModule>("PeerObserver", "webapi::WebApiModule")->RestoreInstancesVisibility();

    const auto messages = server->Messages();
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0].tag, 5);
    EXPECT_EQ(messages[1].tag, 1);
    EXPECT_EQ(Describe(messages[1].values), "S:doc");
}

}  // namespace
}  // namespace mtest
