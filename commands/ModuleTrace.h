#pragma once

#include "dp/QXTracer.h"

namespace webapi {

// The module's own trace channel ("web", "api"), where the viewer commands
// write their entries.
const dp::QXTracer& ModuleTracer();

}  // namespace webapi
