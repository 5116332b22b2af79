#pragma once

#include "du/SmartPtr.h"
#include "qxk/ShapeScene.h"

// Moves the camera of the scene's first view to take in the whole scene.
void FlyToAll(const du::SmartPtr<qxk::ShapeScene>& scene);
