// What the factories publish of every method, and their registration.
#include <gtest/gtest.h>

#include <cstddef>

#include "devhost/platform/Faults.h"
#include "dom/Proxy.h"
#include "du/Symbol.h"
#include "remote/FactoryRegistration.h"
#include "remote/Registration.h"
#include "remote/TreeObserver.h"
#include "remote/ViewablesRequest.h"
#include "remote/WebApiModule.h"

namespace mtest {
namespace {

// The contract with clients built against other hosts: each method's
// message id, signature and place among the sorted signatures, written out
// by hand, misspellings included.
struct Published {
    int id;
    const char* signature;
    int index;
};

const Published kWebApiModule[] = {
    {0, "GetCurrentSelection", 3},
    {1, "SetInstancesColor__IQS__Ib__IS", 20},
    {2, "GetInstanceColor__IS", 4},
    {3, "RestoreInstancesVisibility", 16},
    {4, "LoadInstances__IS", 12},
    {5, "UnloadInstances__IS", 27},
    {6, "AddAnnotationLabel__IS__Id__Id__Id", 0},
    {7, "LoadAnnotationSet__IS", 11},
    {8, "GetAnnotationSetName__Iul", 2},
    {9, "GetNumberOfAnnotationSets", 6},
    {10, "GetViewables__IRwebapi::ViewablesRequest__Il", 8},
    {11, "ZoomToSelected__Il", 29},
    {12, "ZoomToAll__Il", 28},
    {13, "SetCrossSelection__Ib", 19},
    {14, "RegisterTreeObserver__IRwebapi::TreeObserver", 14},
    {15, "UnRegisterTreeObserver__IRwebapi::TreeObserver", 26},
    {16, "SelectTreeNodes__IS", 18},
    {17, "GetProfiles", 7},
    {18, "SetProfile__IS", 22},
    {19, "ResetToDefaultProfile", 15},
    {20, "ToggleConnectionPath", 25},
    {21, "NavigateConnection", 13},
    {22, "ReverseNavigateConection", 17},
    {23, "ShowModelAnnoations__IS__IS", 24},
    {24, "HideModelAnnoations__IS__IS", 10},
    {25, "ShowAllModelAnnoations", 23},
    {26, "HideAllModelAnnoations", 9},
    {27, "SetModelAnnotationColor__IS__IS__IS", 21},
    {28, "GetModelAnnotationColor__IS__IS", 5},
    {29, "GetAllModelAnnotations__OS", 1},
};

const Published kTreeObserver[] = {
    {0, "OnTreeMappingBegin", 0}, {1, "OnTreeMapping__IS", 2}, {2, "OnTreeMappingEnd", 1},
    {3, "OnTreeUpdateBegin", 3},  {4, "OnTreeUpdate__IS", 5},  {5, "OnTreeUpdateEnd", 4},
};

const Published kViewablesRequest[] = {
    {0, "StartViewablesResult__Il", 1},
    {1, "ViewablesResult__IS__Il", 2},
    {2, "EndViewablesResult__Il", 0},
};

// The registered factory publishes every method at its index, with its id,
// and nothing outside the table.
template <std::size_t N>
void ExpectPublished(const char* name, const Published (&methods)[N]) {
    SCOPED_TRACE(name);
    dom::ProxyFactory* factory = dom::ProxyFactoryMap::Instance().FindFactory(du::Symbol(name));
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(factory->GetInterfaceName(), name);
    ASSERT_EQ(factory->GetMethodCount(), static_cast<int>(N));
    for (const Published& method : methods) {
        EXPECT_EQ(factory->GetMethodSignature(method.index), method.signature) << method.id;
        EXPECT_EQ(factory->GetMethodId(method.index), method.id) << method.signature;
    }
    for (const int outside : {-1, static_cast<int>(N), -32768}) {
        EXPECT_EQ(factory->GetMethodSignature(outside), du::Symbol::EMPTY) << outside;
        EXPECT_EQ(factory->GetMethodId(outside), -1) << outside;
    }
}

TEST(InterfaceTableTest, FactoriesPublishTheContract) {
    ExpectPublished("webapi::WebApiModule", kWebApiModule);
    ExpectPublished("webapi::TreeObserver", kTreeObserver);
    ExpectPublished("webapi::ViewablesRequest", kViewablesRequest);
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
