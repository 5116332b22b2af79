#include "WorldFile.h"

#include "devhost/content/ContentWorldFile.h"

namespace support {

WorldFile::WorldFile(const std::string& text) {
    folder_.Write("world.json", text);
    devhost::LoadContentWorldFile(folder_.Path() + "/world.json");
}

}  // namespace support
