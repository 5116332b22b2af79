#include "devhost/gateway/CallbackObject.h"

#include <utility>

#include "devhost/platform/RawMessages.h"

namespace devhost::gateway {

CallbackObject::CallbackObject(const InterfaceEntry& interface, SessionObjects session, Sink sink)
    : interface_(interface), session_(std::move(session)), sink_(std::move(sink)) {}

short CallbackObject::BaseClassOffsetByName(const du::Symbol& name) const {
    return name == interface_.name.c_str() ? 0 : -1;
}

du::Symbol CallbackObject::GetBaseClass(int index) {
    return index == 0 ? du::Symbol(interface_.name) : du::Symbol::EMPTY;
}

void CallbackObject::HandleMessage(const dom::MessagePtr& message) {
    const MethodEntry* method = interface_.FindById(message->GetTag());
    const std::vector<MessageValue> values = GetMessageValues(message);
    rapidjson::Document document;
    Json args(rapidjson::kArrayType);
    std::size_t position = 0;
    bool fits = method != nullptr;
    for (std::size_t i = 0; fits && i < method->parameters.size(); ++i) {
        const Parameter& parameter = method->parameters[i];
        Json value;
        // An out parameter travels only in a reply, which a callback never has.
        if (!parameter.out)
            fits = DecodeArgument(parameter.type, values, position, session_, value, document.GetAllocator());
        args.PushBack(value, document.GetAllocator());
    }
    if (!fits) {
        dom::PrepMessageForReturnBadTag(message);
        return;
    }
    sink_(interface_, *method, args, document.GetAllocator());
}

}  // namespace devhost::gateway
