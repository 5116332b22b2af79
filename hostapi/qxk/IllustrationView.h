#pragma once

#include "qxk/View.h"

namespace qxk {

// View of an illustration: a scene with figures and call-outs.
class IllustrationView : public View {
public:
    static constexpr ClassType CLASS_TYPE{0x34};

    // Commands of RunViewCommand.
    enum ViewCommand { VC_Refresh = 0, VC_FitAll = 6 };

    virtual void RunViewCommand(int command);

protected:
    IllustrationView() : View(CLASS_TYPE.GetNumber()) {}
    ~IllustrationView() override = default;
};

}  // namespace qxk
