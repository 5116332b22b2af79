#pragma once

#include <vector>

#include "devhost/platform/MessageValue.h"
#include "dom/ManagedObject.h"
#include "dom/Message.h"
#include "du/SmartPtr.h"

namespace devhost {

// A test client's way to send what no generated proxy would: any method
// table and tag, and any list of typed values, including wrong types, too
// few or surplus values, and handles.
//
// Sends to target, or to the remote object when target is a proxy. With
// needsReply the call blocks like DeliverMessage and throws what it throws
// (dom::MessageProtocolException for a bad tag or table or a missing reply,
// dom::ActorShutdownException, dom::InvalidActorException); the returned
// message then holds the reply's values. Without it the call returns at once.
// A null target sends nothing and gives null.
dom::MessagePtr SendRawMessage(const du::SmartPtr<dom::ManagedObject>& target, short table, short tag,
                               const std::vector<MessageValue>& values, bool needsReply);

// The message that SendRawMessage would send, not yet delivered; a caller
// that delivers it itself can tell, after a failed request, why the
// receiver refused it (RefusalOf).
dom::MessagePtr MakeRawMessage(const du::SmartPtr<dom::ManagedObject>& target, short table, short tag,
                               const std::vector<MessageValue>& values, bool needsReply);

// Why the receiver refused a delivered request: its tag, its method table,
// or neither (None: it was served, or failed for another reason).
enum class Refusal { None, BadTag, BadTable };
Refusal RefusalOf(const dom::MessagePtr& message);

// The values a message holds now: the reply's, once a reply was written.
std::vector<MessageValue> GetMessageValues(const dom::MessagePtr& message);

// The handle that dom::Helper::PushHandleValue would write for object
// (a proxy's remote object, for a proxy; the null handle for null).
HandleValue MakeHandle(const du::SmartPtr<dom::ManagedObject>& object, short table);

}  // namespace devhost
