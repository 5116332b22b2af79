#pragma once

#include "qxk/Viewer.h"

namespace qxk {

// The viewer of a shape view.
class ShapeViewer : public Viewer {
protected:
    ShapeViewer() = default;
    ~ShapeViewer() override = default;
};

}  // namespace qxk
