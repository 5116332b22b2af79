#pragma once

#include "dom/Message.h"
#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace webapi {

// Decodes a request on method table 0 into one call of a webapi::WebApiModule
// method and writes its reply. A tag out of range, or a value that is missing
// or of the wrong type, runs no method: it is traced and the message is
// marked with a bad tag for its sender.
void DispatchWebApiModuleMessage(const dom::MessagePtr& message, du::SmartPtr<WebApiModule>& module);

// Traces a method table that the module does not have and marks the message
// with a bad table for its sender.
void RejectWebApiModuleTable(const dom::MessagePtr& message);

}  // namespace webapi
