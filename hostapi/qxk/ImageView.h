#pragma once

#include "qxk/View.h"

namespace qxk {

// View of a picture.
class ImageView : public View {
public:
    static constexpr ClassType CLASS_TYPE{0x13};

protected:
    ImageView() : View(CLASS_TYPE.GetNumber()) {}
    ~ImageView() override = default;
};

}  // namespace qxk
