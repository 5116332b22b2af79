#pragma once

#include <atomic>

#include "dom/Proxy.h"

namespace webapi::remote {

// Keeps one interface's proxy factory in the process's factory map from
// construction until Unregister, which the destructor runs at unload.
class FactoryRegistration {
public:
    // Adds the factory to the map; a null factory (no memory) stays null.
    explicit FactoryRegistration(dom::ProxyFactory* factory);
    ~FactoryRegistration();
    FactoryRegistration(const FactoryRegistration&) = delete;
    FactoryRegistration& operator=(const FactoryRegistration&) = delete;

    // Removes and deletes the factory. The exchange makes a second run
    // harmless, whoever runs it.
    void Unregister();

    dom::ProxyFactory* GetFactory() const { return factory_.load(); }

private:
    std::atomic<dom::ProxyFactory*> factory_;
};

}  // namespace webapi::remote
