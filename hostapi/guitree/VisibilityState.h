#pragma once

namespace guitree {

// Visibility of a tree node: its own shape instance and those of its branch.
enum VisibilityState {
    VS_VisNoChdrnVis = 1,
    VS_NotVisNoChdrnVis = 2,
    VS_VisSomeChdrnVis = 3,
    VS_NotVisSomeChdrnVis = 4,
    VS_VisAllChdrnVis = 5,
    VS_NotVisAllChdrnVis = 6,
    VS_VisThumb = 7,
    VS_VisPartlyVis = 8,
    VS_Num = 9
};

}  // namespace guitree
