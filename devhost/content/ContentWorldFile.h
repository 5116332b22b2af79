#pragma once

#include <string>

#include "devhost/world/WorldModel.h"

namespace devhost {

// Reads a world file with its content sections (CONTENT_FORMAT.md) and
// publishes the world. File sources of the content are relative to the
// file's folder. Throws WorldFileError naming the file and the place.
du::SmartPtr<WorldModel> LoadContentWorldFile(const std::string& path);

// The folder that content read now is relative to: the folder of the file
// that LoadContentWorldFile is reading on this thread, else the working
// directory (".").
const std::string& ContentLoadFolder();

}  // namespace devhost
