#pragma once

#include "dom/Message.h"
#include "du/Symbol.h"

namespace dom {

class Helper;
class ManagedObject;

// Writes the values of a new message, or of the reply to a request.
class MessageWriter {
public:
    MessageWriter();
    // Begins the reply to a request; the reply replaces the request's values.
    void StartMessageReply(const MessagePtr& request);

    void PushStringValue(const du::Symbol& value);
    void PushDoubleValue(double value);
    void PushInt32Value(int value);
    void PushUInt32Value(unsigned int value);
    void PushBooleanValue(bool value);

    void MarkNeedsReplyFlag();
    void ClearNeedsReplyFlag();
    // Ends the writing and hands the message out.
    MessagePtr FinaliseMessage();

    const MessagePtr& GetMessage() const { return message_; }

private:
    friend class Helper;
    friend class ManagedObject;

    MessagePtr message_;
    bool reply_ = false;
};

}  // namespace dom
