#pragma once

#include <functional>
#include <vector>
#include <string>

#include "devhost/gateway/EventText.h"
#include "devhost/gateway/SignatureCatalog.h"
#include "devhost/gateway/ValueCodec.h"
#include "dom/ManagedObject.h"

namespace devhost::gateway {

// A web client's implementation of one callback interface, built from the
// interface's signature table alone: each message that reaches it is
// checked against the signature of its message id and handed on with its
// values and a way to write the JSON array of its arguments, so that they
// are written once, straight into the event. A message that does not fit its signature is
// refused with a bad tag, as a generated receiver would refuse it.
class CallbackObject : public dom::ManagedObject {
public:
    // Writes the arguments; valid during the sink's call only.
    using ArgumentWriter = std::function<void(EventTextWriter& writer)>;
    using Sink = std::function<void(const InterfaceEntry& interface, const MethodEntry& method,
                                    const std::vector<MessageValue>& values, const ArgumentWriter& arguments)>;

    CallbackObject(const InterfaceEntry& interface, SessionObjects session, Sink sink);

    const std::string& InterfaceName() const { return interface_.name; }

    short BaseClassOffsetByName(const du::Symbol& name) const override;
    int GetBaseClassCount() const override { return 1; }
    int GetBaseClassParent(int) const override { return -1; }
    du::Symbol GetBaseClass(int index) override;
    void HandleMessage(const dom::MessagePtr& message) override;

private:
    const InterfaceEntry interface_;
    const SessionObjects session_;
    const Sink sink_;
};

}  // namespace devhost::gateway
