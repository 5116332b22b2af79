#include "devhost/platform/RawMessages.h"

#include "devhost/platform/MessageContent.h"
#include "devhost/platform/ObjectRegistry.h"
#include "dom/MessageWriter.h"

namespace devhost {

dom::MessagePtr MakeRawMessage(const du::SmartPtr<dom::ManagedObject>& target, short table, short tag,
                               const std::vector<MessageValue>& values, bool needsReply) {
    if (!target) return nullptr;
    dom::MessageWriter writer = target->StartNewMessage(static_cast<unsigned short>(tag));
    if (needsReply)
        writer.MarkNeedsReplyFlag();
    else
        writer.ClearNeedsReplyFlag();
    dom::MessagePtr message = writer.FinaliseMessage();
    dom::Message::Content& content = message->GetContent();
    content.table = table;
    content.values = values;
    return message;
}

dom::MessagePtr SendRawMessage(const du::SmartPtr<dom::ManagedObject>& target, short table, short tag,
                               const std::vector<MessageValue>& values, bool needsReply) {
    dom::MessagePtr message = MakeRawMessage(target, table, tag, values, needsReply);
    if (message) target->DeliverMessage(message);
    return message;
}

Refusal RefusalOf(const dom::MessagePtr& message) {
    if (!message) return Refusal::None;
    const dom::Message::Content& content = message->GetContent();
    if (content.badTable) return Refusal::BadTable;
    if (content.badTag) return Refusal::BadTag;
    return Refusal::None;
}

std::vector<MessageValue> GetMessageValues(const dom::MessagePtr& message) {
    return message ? message->GetContent().values : std::vector<MessageValue>();
}

HandleValue MakeHandle(const du::SmartPtr<dom::ManagedObject>& object, short table) {
    return HandleFor(object, table);
}

}  // namespace devhost
