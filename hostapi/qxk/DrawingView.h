#pragma once

#include "qxk/View.h"

namespace qxk {

// View of a 2D drawing.
class DrawingView : public View {
public:
    static constexpr ClassType CLASS_TYPE{0x12};

protected:
    DrawingView() : View(CLASS_TYPE.GetNumber()) {}
    ~DrawingView() override = default;
};

}  // namespace qxk
