#pragma once

namespace qxk {

// Overrides of how a piece of geometry is drawn.
struct GeomOverride {
    enum Visibility {
        hidden = 1,
        shown = 2
    };
};

}  // namespace qxk
