#pragma once

#include "dom/Helper.h"
#include "dom/MessageReader.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "remote/InterfaceTable.h"
#include "remote/TreeObserver.h"
#include "remote/ViewablesRequest.h"

namespace webapi {

// Reads a reference to a remote object of interface I. An object that turns
// out not to be an I arrives as null, and still counts as read.
template <class I>
bool GetInterfaceHandle(const dom::Helper& helper, du::SmartPtr<I>& object, dom::MessageReader& reader) {
    static const du::Symbol interfaceName(remote::InterfaceTable<I>::kName);
    du::SmartPtr<dom::ManagedObject> handle;
    if (!helper.GetHandleValue(handle, interfaceName, reader)) return false;
    object = du::DynamicCast<I>(handle);
    return true;
}

inline constexpr auto& GetTreeObserverHandle = GetInterfaceHandle<TreeObserver>;
inline constexpr auto& GetViewablesRequestHandle = GetInterfaceHandle<ViewablesRequest>;

}  // namespace webapi
