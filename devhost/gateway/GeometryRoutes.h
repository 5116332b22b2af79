#pragma once

#include <httplib.h>

namespace devhost::gateway {

// GET /host/geometry?scene=NAME: the scene's geometry (SceneGeometry.h) for
// the viewer pane.
void AddGeometryRoutes(httplib::Server& server);

}  // namespace devhost::gateway
