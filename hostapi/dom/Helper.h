#pragma once

#include "dom/ManagedObject.h"
#include "dom/MessageReader.h"
#include "dom/MessageWriter.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace dom {

// Writes and reads references to managed objects. A handle names an object
// and one of its method tables; the reading side gets a proxy of the named
// interface bound to that object, or a null object for a null handle.
class Helper {
public:
    explicit Helper(const du::SmartPtr<ManagedObject>& context);

    bool PushHandleValue(const du::SmartPtr<ManagedObject>& object, short table, MessageWriter& writer) const;
    bool GetHandleValue(du::SmartPtr<ManagedObject>& object, const du::Symbol& interfaceName,
                        MessageReader& reader) const;

private:
    du::SmartPtr<ManagedObject> context_;
};

}  // namespace dom
