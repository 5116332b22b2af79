#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qxannotations {

// One line of a label's text; kind 0 is plain text.
struct LabelTextRow {
    std::int32_t kind = 0;
    std::string text;
};

// What a free text label shows and where. The position is in the scene's
// own frame and is kept as given.
struct LabelInfo {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    std::vector<LabelTextRow> textRows;
};

}  // namespace qxannotations
