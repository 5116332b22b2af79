#include "basicnav/ShapeViewFlyToData.h"

namespace basicnav {

ShapeViewFlyToData::~ShapeViewFlyToData() = default;

}  // namespace basicnav
