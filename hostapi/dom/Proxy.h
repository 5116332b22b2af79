#pragma once

#include <vector>

#include "dom/ManagedObject.h"
#include "du/CommonAllocated.h"
#include "du/Symbol.h"

namespace dom {

// A local stand-in for a remote object. It sends what it is called with.
class ProxyObject : public ManagedObject, public du::CommonAllocated {
public:
    // table is the remote object's method table; rebind maps this side's
    // message ids to the remote host's (empty: the same ids).
    ProxyObject(short table, const std::vector<int>& rebind);
    ~ProxyObject() override;

    const char* GetDebugClassName() const override;
    // The remote host's id for a message id of this side; -1 when the remote
    // host lacks the method.
    int Rebind(int messageId) const;
    short GetTable() const { return table_; }

private:
    short table_;
    std::vector<int> rebind_;
};

// Describes one interface to the messaging layer and makes its proxies.
class ProxyFactory : public du::CommonAllocated {
public:
    ProxyFactory();
    ~ProxyFactory() override;

    const char* GetDebugClassName() const override;
    virtual du::Symbol GetInterfaceName() const = 0;
    virtual ProxyObject* CreateProxy(unsigned short table, unsigned int host) = 0;
    virtual int GetMethodCount() const = 0;
    // Signatures in index order, with the message id of each.
    virtual du::Symbol GetMethodSignature(int index) const = 0;
    virtual int GetMethodId(int index) const = 0;

    // Maps this side's message ids to those of the given host, by matching
    // signatures. Host 0 is this host.
    const std::vector<int>& GetRebindTableForHost(unsigned int host) const;

    struct Tables;  // cached rebind tables; private to the messaging layer

private:
    Tables* tables_;
};

// The process-wide registry of proxy factories, by interface name.
class ProxyFactoryMap {
public:
    static ProxyFactoryMap& Instance();

    virtual void AddFactory(ProxyFactory* factory);
    virtual void RemoveFactory(ProxyFactory* factory);
    // The factory registered last for the interface, or null.
    ProxyFactory* FindFactory(const du::Symbol& interfaceName) const;

protected:
    ProxyFactoryMap();
    virtual ~ProxyFactoryMap();
};

}  // namespace dom
