#include "WorldFile.h"

#include "devhost/content/ContentWorldFile.h"

namespace support {

WorldFile::WorldFile(const std::string& text) {
    folder_.Write("world.json", text);
    world_ = devhost::LoadContentWorldFile(folder_.Path() + "/world.json");
}

}  // namespace support
