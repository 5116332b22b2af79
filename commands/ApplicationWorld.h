#pragma once

#include "du/SmartPtr.h"
#include "qxk/World.h"

namespace webapi {

// The application's world; null when there is no application or it has no
// world, which the commands pass over without a word.
du::SmartPtr<qxk::World> ApplicationWorld();

}  // namespace webapi
