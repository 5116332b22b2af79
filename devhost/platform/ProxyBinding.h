#pragma once

#include "devhost/platform/MessageValue.h"
#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace devhost {

// Makes a proxy for the object that handle names, with the factory
// registered for interfaceName. A target known not to have that interface
// gets an untyped dom::ProxyObject, which no cast to the interface accepts.
// False when there is no factory or it could not make a proxy.
bool MakeProxy(const HandleValue& handle, const du::Symbol& interfaceName, du::SmartPtr<dom::ManagedObject>& proxy);

}  // namespace devhost
