#pragma once

#include <string>

namespace devhost::gateway {

// The geometry of a shape scene in one binary block, as the viewer pane
// uploads it (GATEWAY.md, "Geometry"): a little-endian u32 length, a JSON
// header of that many bytes (padded with spaces to four), then the arrays
// the header points into. Every shape once; per shape instance its id,
// idpath, shape and world transform. False when no shape scene has the name.
bool EncodeSceneGeometry(const std::string& sceneName, std::string& block);

}  // namespace devhost::gateway
