#include "remote/FactoryRegistration.h"

namespace webapi::remote {

FactoryRegistration::FactoryRegistration(dom::ProxyFactory* factory) : factory_(factory) {
    dom::ProxyFactoryMap::Instance().AddFactory(factory);
}

FactoryRegistration::~FactoryRegistration() { Unregister(); }

void FactoryRegistration::Unregister() {
    dom::ProxyFactory* const factory = factory_.exchange(nullptr);
    if (factory == nullptr) return;
    dom::ProxyFactoryMap::Instance().RemoveFactory(factory);
    delete factory;
}

}  // namespace webapi::remote
