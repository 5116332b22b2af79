#pragma once

#include "du/Symbol.h"
#include "qxk/Object.h"

namespace qxk {

// A window of the viewer in which views are shown.
class Window : public Object {
public:
    du::Symbol GetTitle() const;

protected:
    Window() = default;
    ~Window() override = default;
};

}  // namespace qxk
