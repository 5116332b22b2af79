#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace qxk {

class ProgressEvent;

// What draws a view. It reports the progress of its drawing and reading to
// the progress events attached to it, and completes them when it is done.
class Viewer : public virtual du::RefCounted {
public:
    virtual void AttachProgressEvent(const du::SmartPtr<ProgressEvent>& event);

protected:
    Viewer() = default;
    ~Viewer() override = default;
};

}  // namespace qxk
