#pragma once

namespace qxmk {

struct Progress {
    // How a progress display shows itself.
    enum Type {
        PT_Bar = 0,     // a bar with a percentage
        PT_Spinner = 1  // a busy sign with no percentage
    };
};

}  // namespace qxmk
