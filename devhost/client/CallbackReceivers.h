#pragma once

#include <functional>
#include <string>
#include <vector>

#include "dom/ManagedObject.h"
#include "du/Symbol.h"
#include "remote/TreeObserver.h"
#include "remote/ViewablesRequest.h"

namespace devhost {

// One callback as a client received it: the method's name and its
// arguments as text.
struct ReceivedCall {
    std::string method;
    std::vector<std::string> arguments;
};

using CallbackSink = std::function<void(const ReceivedCall& call)>;

// A client's implementation of webapi::TreeObserver: every callback that
// reaches it, on its actor's thread, goes to the sink.
class TreeObserverReceiver : public webapi::TreeObserver, public dom::ManagedObject {
public:
    explicit TreeObserverReceiver(CallbackSink sink);

    short GetTableOffset(int) override { return 0; }
#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) Result Name Parameters override;
#include "remote/TreeObserver.def"

    short BaseClassOffsetByName(const du::Symbol& name) const override;
    int GetBaseClassCount() const override { return 1; }
    int GetBaseClassParent(int) const override { return -1; }
    du::Symbol GetBaseClass(int index) override;
    void HandleMessage(const dom::MessagePtr& message) override;

private:
    CallbackSink sink_;
};

// A client's implementation of webapi::ViewablesRequest, likewise.
class ViewablesRequestReceiver : public webapi::ViewablesRequest, public dom::ManagedObject {
public:
    explicit ViewablesRequestReceiver(CallbackSink sink);

    short GetTableOffset(int) override { return 0; }
#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) Result Name Parameters override;
#include "remote/ViewablesRequest.def"

    short BaseClassOffsetByName(const du::Symbol& name) const override;
    int GetBaseClassCount() const override { return 1; }
    int GetBaseClassParent(int) const override { return -1; }
    du::Symbol GetBaseClass(int index) override;
    void HandleMessage(const dom::MessagePtr& message) override;

private:
    CallbackSink sink_;
};

}  // namespace devhost
