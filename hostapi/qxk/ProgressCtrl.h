#pragma once

#include "du/RefCounted.h"

namespace qxk {

// A progress control of the viewer's own user interface.
class ProgressCtrl : public virtual du::RefCounted {
public:
    virtual void SetPercentage(int percentage) = 0;
    virtual void Close() = 0;

protected:
    ProgressCtrl() = default;
    ~ProgressCtrl() override = default;
};

}  // namespace qxk
