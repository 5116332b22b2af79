#pragma once

#include "du/SmartPtr.h"
#include "qxk/View.h"

namespace qxk {

class ShapeViewer;

// View of a shape scene.
class ShapeView : public View {
public:
    static constexpr ClassType CLASS_TYPE{0x11};

    void GetViewer(du::SmartPtr<ShapeViewer>& viewer) const;

protected:
    ShapeView() : View(CLASS_TYPE.GetNumber()) {}
    ~ShapeView() override = default;
};

}  // namespace qxk
