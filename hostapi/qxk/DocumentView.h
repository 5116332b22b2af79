#pragma once

#include "qxk/View.h"

namespace qxk {

// View of a document of pages.
class DocumentView : public View {
public:
    static constexpr ClassType CLASS_TYPE{0x14};

protected:
    DocumentView() : View(CLASS_TYPE.GetNumber()) {}
    ~DocumentView() override = default;
};

}  // namespace qxk
