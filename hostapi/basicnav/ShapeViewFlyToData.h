#pragma once

#include <cstdint>

#include "dg/Location.h"
#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace basicnav {

// Message data of the "shapeviewflyto" workflow: how the camera of a shape
// view moves to take in its target.
class ShapeViewFlyToData : public virtual du::RefCounted {
public:
    // Bits of flyFlags.
    enum FlyFlag : unsigned char {
        FF_WholeScene = 0x01,  // take in the whole scene, not the selection
        FF_Animate = 0x04      // move the camera smoothly
    };
    // Bits of fitFlags; the top three bits belong to the viewer.
    enum FitFlag : unsigned char {
        FIT_KeepOrientation = 0x01,
        FIT_KeepZoom = 0x02,
        FIT_VisibleOnly = 0x04,
        FIT_IncludeMarkups = 0x08,
        FIT_Tight = 0x10
    };

    ShapeViewFlyToData() = default;
    // Out of line, in the host's library: a workflow may keep the data after
    // the module that made it has been unloaded.
    ~ShapeViewFlyToData() override;

    unsigned char flyFlags = FF_Animate;
    unsigned char fitFlags = 0;
    double duration = 1.0;  // seconds of the camera move
    dg::Location target;
    du::SmartPtr<du::RefCounted> instances;  // what to fly to; null for the scene's content
    du::SmartPtr<du::RefCounted> camera;     // a camera to end at; null to compute one
    du::SmartPtr<du::RefCounted> bounds;     // a box to fit; null to compute one
    std::int32_t viewport = 0;
};

}  // namespace basicnav
