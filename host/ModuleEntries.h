#pragma once

#include <string>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

// The plug-in's exports, by unmangled name.
#define WEBAPI_EXPORT __attribute__((visibility("default")))

extern "C" {

// Makes the module's actor and starts its thread; the result of the start.
WEBAPI_EXPORT bool QXDllInit();
// True, with a new component naming the actor, for "world", "web", "api";
// false, with component untouched, for anything else.
WEBAPI_EXPORT bool QXDllCreateComponent(const std::string& first, const std::string& second, const std::string& third,
                                        du::SmartPtr<du::RefCounted>& component);
// Stops the actor and frees it; harmless when there is none.
WEBAPI_EXPORT void QXDllTerminate();
}
