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
    std::size_t position = 0;
    bool fits = method != nullptr;
    // An out parameter travels only in a reply, which a callback never has.
    for (std::size_t i = 0; fits && i < method->parameters.size(); ++i)
        if (!method->parameters[i].out)
            fits = FitValues(method->parameters[i].type, values, position) == ValueFit::Fits;
    if (!fits) {
        dom::PrepMessageForReturnBadTag(message);
        return;
    }
    sink_(interface_, *method, values, [&](EventTextWriter& writer) {
        writer.StartArray();
        std::size_t at = 0;
        for (const Parameter& parameter : method->parameters) {
            if (parameter.out)
                writer.Null();
            else
                WriteArgument(parameter.type, values, at, session_, writer);
        }
        writer.EndArray();
    });
}

}  // namespace devhost::gateway
