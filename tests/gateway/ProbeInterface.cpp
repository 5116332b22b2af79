#include "ProbeInterface.h"

#include <variant>

#include "devhost/platform/RawMessages.h"
#include "dom/Helper.h"
#include "dom/MessageWriter.h"
#include "dom/Proxy.h"

namespace gtest_gateway {

const char* const kProbeName = "gtest::Probe";
const char* const kListenerName = "gtest::Listener";
const char* const kProbeActor = "ProbeActor";

namespace {

struct Method {
    const char* signature;
    int id;
};

// Signatures in sorted order, with their message ids.
const std::vector<Method> kProbeMethods = {
    {"Call__IRgtest::Listener__Il", 5}, {"Count", 4},         {"Echo__IS", 0},
    {"Fill__OS", 3},                    {"List__IQS__Ib", 2}, {"Mix__Id__Il__Iul__Ib", 1},
};
const std::vector<Method> kListenerMethods = {{"Done", 1}, {"Heard__IS__Il", 0}};

class TableFactory : public dom::ProxyFactory {
public:
    TableFactory(const char* name, const std::vector<Method>& methods) : name_(name), methods_(methods) {}
    du::Symbol GetInterfaceName() const override { return du::Symbol(name_); }
    dom::ProxyObject* CreateProxy(unsigned short table, unsigned int host) override {
        return new dom::ProxyObject(static_cast<short>(table), GetRebindTableForHost(host));
    }
    int GetMethodCount() const override { return static_cast<int>(methods_.size()); }
    du::Symbol GetMethodSignature(int index) const override {
        return index >= 0 && index < GetMethodCount() ? du::Symbol(methods_[index].signature) : du::Symbol::EMPTY;
    }
    int GetMethodId(int index) const override {
        return index >= 0 && index < GetMethodCount() ? methods_[index].id : -1;
    }

private:
    const char* name_;
    const std::vector<Method>& methods_;
};

}  // namespace

struct ProbeFactories::Factories {
    TableFactory probe{kProbeName, kProbeMethods};
    TableFactory listener{kListenerName, kListenerMethods};
};

ProbeFactories::ProbeFactories() : factories_(new Factories) {
    dom::ProxyFactoryMap::Instance().AddFactory(&factories_->probe);
    dom::ProxyFactoryMap::Instance().AddFactory(&factories_->listener);
}

ProbeFactories::~ProbeFactories() {
    dom::ProxyFactoryMap::Instance().RemoveFactory(&factories_->listener);
    dom::ProxyFactoryMap::Instance().RemoveFactory(&factories_->probe);
    delete factories_;
}

class ProbeActor::Server : public dom::ManagedObject {
public:
    short BaseClassOffsetByName(const du::Symbol& name) const override { return name == kProbeName ? 0 : -1; }

    void HandleMessage(const dom::MessagePtr& message) override {
        const std::vector<devhost::MessageValue> values = devhost::GetMessageValues(message);
        {
            std::lock_guard<std::mutex> hold(mutex);
            received.push_back({message->GetTag(), values});
        }
        if (message->GetTag() < 0 || message->GetTag() > 5) {
            dom::PrepMessageForReturnBadTag(message);
            return;
        }
        if (message->GetTag() == 5) CallBack(message);
        dom::MessageWriter writer;
        writer.StartMessageReply(message);
        switch (message->GetTag()) {
        case 0:
            if (!values.empty()) writer.PushStringValue(std::get<du::Symbol>(values[0]));
            break;
        case 3: writer.PushStringValue("filled"); break;
        case 4: writer.PushUInt32Value(7); break;
        default: break;
        }
        writer.FinaliseMessage();
    }

    mutable std::mutex mutex;
    std::vector<Received> received;

private:
    void CallBack(const dom::MessagePtr& message) {
        dom::MessageReader reader(message);
        du::SmartPtr<dom::ManagedObject> listener;
        int count = 0;
        if (!dom::Helper(this).GetHandleValue(listener, kListenerName, reader) || !reader.GetInt32Value(count) ||
            !listener)
            return;
        auto* proxy = dynamic_cast<dom::ProxyObject*>(listener.get());
        const short table = proxy ? proxy->GetTable() : 0;
        for (int i = 1; i <= count; ++i)
            devhost::SendRawMessage(listener, table, 0, {du::Symbol("heard " + std::to_string(i)), i}, false);
        devhost::SendRawMessage(listener, table, 1, {}, false);
    }
};

ProbeActor::ProbeActor() : queue_(new dom::GenericMessageQueue), server_(new Server) {
    server_->ManageSelf(queue_, du::Symbol(kProbeActor), dom::ManagedObject::SCOPE_Global);
    thread_ = std::thread([server = server_] { server->RunMessageLoop(); });
}

ProbeActor::~ProbeActor() {
    queue_->ShutdownQueue(dom::MessageQueue::SM_Immediate);
    thread_.join();
}

std::vector<ProbeActor::Received> ProbeActor::Messages() const {
    std::lock_guard<std::mutex> hold(server_->mutex);
    return server_->received;
}

}  // namespace gtest_gateway
