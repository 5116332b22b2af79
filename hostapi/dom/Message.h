#pragma once

#include <cstddef>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace dom {

// One message between actors. The method table and the tag are two signed
// 16-bit fields side by side; the values follow. A reply travels in the
// message that carried the request: once the reply is written, the values
// of the message are those of the reply.
class Message : public du::RefCounted {
public:
    Message();
    ~Message() override;
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    short GetMethodTable() const;
    short GetTag() const;
    bool NeedsReply() const;
    std::size_t GetValueCount() const;

    struct Content;  // private to the messaging layer
    Content& GetContent() const { return *content_; }

private:
    Content* content_;
};

using MessagePtr = du::SmartPtr<Message>;

// Mark a request so that its sender learns that the tag, or the method
// table, was not understood. The sender's DeliverMessage then throws
// dom::MessageProtocolException.
void PrepMessageForReturnBadTag(const MessagePtr& message);
void PrepMessageForReturnBadTable(const MessagePtr& message);

}  // namespace dom
