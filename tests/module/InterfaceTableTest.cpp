// The three identities of every method and what the factories publish of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "devhost/platform/Faults.h"
#include "dom/Proxy.h"
#include "du/Symbol.h"
#include "remote/FactoryRegistration.h"
#include "remote/InterfaceTable.h"
#include "remote/Registration.h"
#include "remote/TreeObserver.h"
#include "remote/ViewablesRequest.h"
#include "remote/WebApiModule.h"

namespace mtest {
namespace {

using webapi::remote::InterfaceTable;
using webapi::remote::MethodCount;

// Sorting the signatures as plain byte strings, independently of the
// module's own sort, gives each method's written index; ids run 0..n-1.
template <class I>
void ExpectIdentitiesAgree(int expectedCount) {
    ASSERT_EQ(MethodCount<I>(), expectedCount);
    std::vector<std::string> sorted;
    for (int id = 0; id < expectedCount; ++id) {
        EXPECT_EQ(InterfaceTable<I>::kMethods[id].id, id);
        sorted.emplace_back(InterfaceTable<I>::kMethods[id].signature);
    }
    std::sort(sorted.begin(), sorted.end());
    for (int id = 0; id < expectedCount; ++id) {
        const auto& method = InterfaceTable<I>::kMethods[id];
        EXPECT_EQ(sorted[static_cast<std::size_t>(method.index)], method.signature) << method.signature;
    }
}

// The registered factory publishes in index order, with each method's id.
template <class I>
void ExpectFactoryPublishes() {
    dom::ProxyFactory* factory = dom::ProxyFactoryMap::Instance().FindFactory(du::Symbol(InterfaceTable<I>::kName));
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(factory->GetInterfaceName(), InterfaceTable<I>::kName);
    ASSERT_EQ(factory->GetMethodCount(), MethodCount<I>());
    for (const auto& method : InterfaceTable<I>::kMethods) {
        EXPECT_EQ(factory->GetMethodSignature(method.index), method.signature);
        EXPECT_EQ(factory->GetMethodId(method.index), method.id);
    }
    EXPECT_EQ(factory->GetMethodSignature(-1), du::Symbol::EMPTY);
    EXPECT_EQ(factory->GetMethodSignature(MethodCount<I>()), du::Symbol::EMPTY);
    EXPECT_EQ(factory->GetMethodId(-1), -1);
    EXPECT_EQ(factory->GetMethodId(MethodCount<I>()), -1);
}

TEST(InterfaceTableTest, SortedIndexAndIdsAgree) {
    ExpectIdentitiesAgree<webapi::WebApiModule>(30);
    ExpectIdentitiesAgree<webapi::TreeObserver>(6);
    ExpectIdentitiesAgree<webapi::ViewablesRequest>(3);
}

TEST(InterfaceTableTest, FactoriesPublishInIndexOrder) {
    ExpectFactoryPublishes<webapi::WebApiModule>();
    ExpectFactoryPublishes<webapi::TreeObserver>();
    ExpectFactoryPublishes<webapi::ViewablesRequest>();
    dom::ProxyFactory* factory = dom::ProxyFactoryMap::Instance().FindFactory(du::Symbol("webapi::WebApiModule"));
    EXPECT_EQ(factory->GetMethodSignature(29), "ZoomToSelected__Il");
    EXPECT_EQ(factory->GetMethodId(29), 11);
}

TEST(InterfaceTableTest, NoMemoryGivesNullFactoryAndProxy) {
    dom::ProxyFactory* factory = dom::ProxyFactoryMap::Instance().FindFactory(du::Symbol("webapi::WebApiModule"));
    devhost::ArmFault("du::CommonAllocatorImpl::Allocate", devhost::Fault{devhost::FaultKind::Fail, "", 2});
    EXPECT_EQ(webapi::remote::NewProxyFactory<webapi::ViewablesRequest>(), nullptr);
    EXPECT_EQ(factory->CreateProxy(0, 0), nullptr);
    devhost::DisarmAllFaults();
}

TEST(InterfaceTableTest, SecondUnregistrationRemovesNothing) {
    const du::Symbol name("webapi::TreeObserver");
    dom::ProxyFactory* const loaded = dom::ProxyFactoryMap::Instance().FindFactory(name);
    webapi::remote::FactoryRegistration registration(webapi::remote::NewProxyFactory<webapi::TreeObserver>());
    EXPECT_EQ(dom::ProxyFactoryMap::Instance().FindFactory(name), registration.GetFactory());
    registration.Unregister();
    EXPECT_EQ(registration.GetFactory(), nullptr);
    EXPECT_EQ(dom::ProxyFactoryMap::Instance().FindFactory(name), loaded);
    registration.Unregister();
    EXPECT_EQ(dom::ProxyFactoryMap::Instance().FindFactory(name), loaded);
}

}  // namespace
}  // namespace mtest
