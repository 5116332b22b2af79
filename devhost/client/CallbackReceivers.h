#pragma once

#include <functional>
#include <string>
#include <tuple>
#include <utility>
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

// A client's implementation of a callback interface I of the module: it
// decodes the one-way messages that reach it, on its actor's thread, and
// hands every call to the sink.
template <class I>
class CallbackReceiver : public I, public dom::ManagedObject {
public:
    explicit CallbackReceiver(CallbackSink sink) : sink_(std::move(sink)) {}

    short GetTableOffset(int) override { return 0; }

    short BaseClassOffsetByName(const du::Symbol& name) const override {
        return webapi::remote::BaseClassOffsetOf<I>(name);
    }
    int GetBaseClassCount() const override { return 1; }
    int GetBaseClassParent(int) const override { return -1; }
    du::Symbol GetBaseClass(int index) override { return webapi::remote::BaseClassOf<I>(index); }
    void HandleMessage(const dom::MessagePtr& message) override;

protected:
    template <class... Arguments>
    void Record(const char* method, const std::tuple<Arguments...>& arguments) {
        sink_(std::apply([method](const auto&... each) { return ReceivedCall{method, {Describe(each)...}}; },
                         arguments));
    }

private:
    static std::string Describe(const du::Symbol& text) { return text.IsNull() ? "(null)" : text.str(); }
    static std::string Describe(int value) { return std::to_string(value); }

    CallbackSink sink_;
};

class TreeObserverReceiver : public CallbackReceiver<webapi::TreeObserver> {
public:
    using CallbackReceiver::CallbackReceiver;
#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) \
    Result Name Parameters override { Record(#Name, std::make_tuple Arguments); }
#include "remote/TreeObserver.def"
};

class ViewablesRequestReceiver : public CallbackReceiver<webapi::ViewablesRequest> {
public:
    using CallbackReceiver::CallbackReceiver;
#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments) \
    Result Name Parameters override { Record(#Name, std::make_tuple Arguments); }
#include "remote/ViewablesRequest.def"
};

extern template class CallbackReceiver<webapi::TreeObserver>;
extern template class CallbackReceiver<webapi::ViewablesRequest>;

}  // namespace devhost
