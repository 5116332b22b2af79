#pragma once

#include "qxk/AsyncEvent.h"

namespace qxk {

// An event that a viewer reports its drawing and reading progress to.
class ProgressEvent : public BaseAsyncEvent {
public:
    explicit ProgressEvent(bool releaseWhenDone);
    ~ProgressEvent() override;
};

}  // namespace qxk
