#include "dom/MessageWriter.h"

#include "devhost/platform/Faults.h"
#include "devhost/platform/MessageContent.h"

namespace dom {

MessageWriter::MessageWriter() = default;

void MessageWriter::StartMessageReply(const MessagePtr& request) {
    // A failed start leaves the request without a reply, which its sender sees.
    if (devhost::HitFault("dom::MessageWriter::StartMessageReply") || !request) {
        message_ = nullptr;
        reply_ = false;
        return;
    }
    message_ = request;
    reply_ = true;
    message_->GetContent().values.clear();
}

void MessageWriter::PushStringValue(const du::Symbol& value) {
    if (message_) message_->GetContent().values.emplace_back(value);
}

void MessageWriter::PushDoubleValue(double value) {
    if (message_) message_->GetContent().values.emplace_back(value);
}

void MessageWriter::PushInt32Value(int value) {
    if (message_) message_->GetContent().values.emplace_back(std::int32_t{value});
}

void MessageWriter::PushUInt32Value(unsigned int value) {
    if (message_) message_->GetContent().values.emplace_back(std::uint32_t{value});
}

void MessageWriter::PushBooleanValue(bool value) {
    if (message_) message_->GetContent().values.emplace_back(value);
}

// The flag belongs to the request; a reply does not change it.
void MessageWriter::MarkNeedsReplyFlag() {
    if (message_ && !reply_) message_->GetContent().needsReply = true;
}

void MessageWriter::ClearNeedsReplyFlag() {
    if (message_ && !reply_) message_->GetContent().needsReply = false;
}

MessagePtr MessageWriter::FinaliseMessage() {
    if (message_ && reply_) message_->GetContent().replyWritten = true;
    return message_;
}

}  // namespace dom
