#pragma once

// A small remote interface for exercising the messaging layer the way
// generated code uses it: "ptest::Counter" with a server object, a proxy and
// a proxy factory.

#include <atomic>
#include <functional>
#include <thread>

#include "dom/ManagedObject.h"
#include "dom/Proxy.h"
#include "du/RefCounted.h"
#include "du/Symbol.h"

namespace ptest {

extern const char* const kCounterName;

class Counter : public virtual du::RefCounted {
public:
    virtual short GetTableOffset(int) = 0;
    virtual int Add(int amount) = 0;                            // id 0, "Add__Il"
    virtual du::Symbol Echo(const du::Symbol& text) = 0;        // id 1, "Echo__IS"
    virtual void Note(const du::Symbol& text) = 0;              // id 2, "Note__IS", one-way
    virtual int Relay(const du::SmartPtr<Counter>& other) = 0;  // id 3, "Relay__IRptest::Counter"
};

// Serves Counter messages. Add returns the running total; Relay calls Add(1)
// on the counter it is given and returns that result, or -1 for null.
class CounterServer : public Counter, public dom::ManagedObject {
public:
    short GetTableOffset(int) override { return 0; }
    int Add(int amount) override;
    du::Symbol Echo(const du::Symbol& text) override { return text; }
    void Note(const du::Symbol& text) override;
    int Relay(const du::SmartPtr<Counter>& other) override;

    short BaseClassOffsetByName(const du::Symbol& name) const override { return name == kCounterName ? 0 : -1; }
    void HandleMessage(const dom::MessagePtr& message) override;

    std::atomic<int> total{0};
    std::atomic<int> served{0};
    std::thread::id lastThread;
    du::Symbol lastNote;
    std::function<void()> onNote;  // runs inside Note, on the actor thread
};

// Describes Counter as declared on this host.
class CounterFactory : public dom::ProxyFactory {
public:
    du::Symbol GetInterfaceName() const override { return kCounterName; }
    dom::ProxyObject* CreateProxy(unsigned short table, unsigned int host) override;
    int GetMethodCount() const override { return 4; }
    du::Symbol GetMethodSignature(int index) const override;
    int GetMethodId(int index) const override;
};

// Registers a CounterFactory for the life of the object.
class CounterFactoryRegistration {
public:
    CounterFactoryRegistration();
    ~CounterFactoryRegistration();
    CounterFactory* factory;
};

}  // namespace ptest
