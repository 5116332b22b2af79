#include "CounterInterface.h"

#include <stdexcept>

#include "dom/Helper.h"
#include "dom/MessageReader.h"
#include "dom/MessageWriter.h"
#include "du/CommonAllocated.h"

namespace ptest {

const char* const kCounterName = "ptest::Counter";

namespace {

const char* const kSignatures[] = {"Add__Il", "Echo__IS", "Note__IS", "Relay__IRptest::Counter"};

class CounterProxy : public Counter, public dom::ProxyObject {
public:
    CounterProxy(short table, const std::vector<int>& rebind) : dom::ProxyObject(table, rebind) {}

    short GetTableOffset(int) override { return 0; }

    int Add(int amount) override {
        dom::MessageWriter writer = StartNewMessage(static_cast<unsigned short>(Rebind(0)));
        writer.PushInt32Value(amount);
        int result = 0;
        dom::MessageReader reader(Request(writer));
        if (!reader.GetInt32Value(result)) throw std::runtime_error("ProtocolError extracting return value");
        return result;
    }
    du::Symbol Echo(const du::Symbol& text) override {
        dom::MessageWriter writer = StartNewMessage(static_cast<unsigned short>(Rebind(1)));
        writer.PushStringValue(text);
        du::Symbol result = du::Symbol::EMPTY;
        dom::MessageReader reader(Request(writer));
        if (!reader.GetStringValue(result)) throw std::runtime_error("ProtocolError extracting return value");
        return result;
    }
    void Note(const du::Symbol& text) override {
        dom::MessageWriter writer = StartNewMessage(static_cast<unsigned short>(Rebind(2)));
        writer.PushStringValue(text);
        writer.ClearNeedsReplyFlag();
        DeliverMessage(writer.FinaliseMessage());
    }
    int Relay(const du::SmartPtr<Counter>& other) override {
        dom::Helper helper(du::SmartPtr<dom::ManagedObject>(this));
        dom::MessageWriter writer = StartNewMessage(static_cast<unsigned short>(Rebind(3)));
        helper.PushHandleValue(du::DynamicCast<dom::ManagedObject>(other), other ? other->GetTableOffset(0) : 0,
                               writer);
        int result = 0;
        dom::MessageReader reader(Request(writer));
        if (!reader.GetInt32Value(result)) throw std::runtime_error("ProtocolError extracting return value");
        return result;
    }

private:
    dom::MessagePtr Request(dom::MessageWriter& writer) {
        writer.MarkNeedsReplyFlag();
        dom::MessagePtr message = writer.FinaliseMessage();
        DeliverMessage(message);
        return message;
    }
};

}  // namespace

int CounterServer::Add(int amount) {
    lastThread = std::this_thread::get_id();
    return total += amount;
}

void CounterServer::Note(const du::Symbol& text) {
    lastNote = text;
    if (onNote) onNote();
}

int CounterServer::Relay(const du::SmartPtr<Counter>& other) { return other ? other->Add(1) : -1; }

void CounterServer::HandleMessage(const dom::MessagePtr& message) {
    if (message->GetMethodTable() != 0) {
        dom::PrepMessageForReturnBadTable(message);
        return;
    }
    ++served;
    dom::MessageReader reader(message);
    dom::MessageWriter reply;
    switch (message->GetTag()) {
    case 0: {
        int amount = 0;
        if (!reader.GetInt32Value(amount)) break;
        int result = Add(amount);
        reply.StartMessageReply(message);
        reply.PushInt32Value(result);
        reply.FinaliseMessage();
        return;
    }
    case 1: {
        du::Symbol text;
        if (!reader.GetStringValue(text)) break;
        du::Symbol result = Echo(text);
        reply.StartMessageReply(message);
        reply.PushStringValue(result);
        reply.FinaliseMessage();
        return;
    }
    case 2: {
        du::Symbol text;
        if (!reader.GetStringValue(text)) break;
        Note(text);
        reply.StartMessageReply(message);
        reply.FinaliseMessage();
        return;
    }
    case 3: {
        dom::Helper helper(du::SmartPtr<dom::ManagedObject>(this));
        du::SmartPtr<dom::ManagedObject> handle;
        if (!helper.GetHandleValue(handle, kCounterName, reader)) break;
        int result = Relay(du::DynamicCast<Counter>(handle));
        reply.StartMessageReply(message);
        reply.PushInt32Value(result);
        reply.FinaliseMessage();
        return;
    }
    default:
        break;
    }
    dom::PrepMessageForReturnBadTag(message);
}

dom::ProxyObject* CounterFactory::CreateProxy(unsigned short table, unsigned int host) {
    void* memory = du::CommonAllocatorImpl::Allocate(sizeof(CounterProxy));
    if (!memory) return nullptr;
    return new (memory) CounterProxy(static_cast<short>(table), GetRebindTableForHost(host));
}

du::Symbol CounterFactory::GetMethodSignature(int index) const {
    return index >= 0 && index < GetMethodCount() ? du::Symbol(kSignatures[index]) : du::Symbol::EMPTY;
}

int CounterFactory::GetMethodId(int index) const { return index >= 0 && index < GetMethodCount() ? index : -1; }

CounterFactoryRegistration::CounterFactoryRegistration() : factory(new CounterFactory) {
    dom::ProxyFactoryMap::Instance().AddFactory(factory);
}

CounterFactoryRegistration::~CounterFactoryRegistration() {
    dom::ProxyFactoryMap::Instance().RemoveFactory(factory);
    delete factory;
}

}  // namespace ptest
