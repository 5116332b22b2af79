#pragma once

#include "du/RefCounted.h"

namespace qxk {

// An undoable change of a scene. Changes made with a null operation are not
// recorded for undo.
class Operation : public virtual du::RefCounted {
protected:
    Operation() = default;
    ~Operation() override = default;
};

}  // namespace qxk
