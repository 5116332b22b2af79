#include "ModelFiles.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace modeltest {

std::string TestModel(const std::string& relative) { return "/usr/share/assimp/models/" + relative; }

std::string Engine() { return TestModel("glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"); }

// A binary glTF: a 12-byte header, then chunks of a length, a type and the
// bytes; the first chunk is the JSON.
rapidjson::Document GlbJson(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::uint32_t length = 0;
    if (bytes.size() < 20 || std::memcmp(bytes.data(), "glTF", 4) != 0) throw std::runtime_error(path + ": no glb");
    std::memcpy(&length, bytes.data() + 12, 4);
    if (20 + static_cast<std::size_t>(length) > bytes.size()) throw std::runtime_error(path + ": short chunk");
    rapidjson::Document json;
    json.Parse(bytes.data() + 20, length);
    return json;
}

}  // namespace modeltest
