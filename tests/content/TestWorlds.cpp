#include "TestWorlds.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include <dirent.h>
#include <unistd.h>

namespace ctest {

std::string SmallWorld(const std::string& extraSections) {
    return R"({
  "structure": [
    { "name": "car", "children": [
      { "name": "wheel_left" }, { "name": "wheel_right" }, { "name": "body" },
      { "name": "trailer", "proxy": { "children": [ { "name": "axle" } ] } } ] }
  ],
  "scenes": [
    { "name": "Model", "shapes": [ "car/wheel_left", "car/wheel_right", "car/body" ],
      "views": [ { "name": "Main", "kind": "shape" } ] }
  ],
  "activeView": "Main",
  "geometry": {
    "wheel": { "bodies": [ { "kind": "body", "id": "b", "children": [
      { "kind": "region", "id": "r", "children": [
        { "kind": "shell", "id": "s", "children": [
          { "kind": "face", "id": "tread" }, { "kind": "markup", "id": "dim_d" }, { "kind": "edge", "id": "rim" } ] } ] },
      { "kind": "markup", "id": "note_psi" } ] } ] },
    "panel": { "bodies": [ { "kind": "body", "id": "p", "children": [ { "kind": "markup", "id": "dim_d" } ] } ] }
  },
  "components": {
    "car/wheel_left": { "shape": "wheel" },
    "car/wheel_right": { "shape": "wheel" },
    "car/body": { "shape": "panel" }
  })" + extraSections + "\n}";
}

TempFolder::TempFolder() {
    char pattern[] = "/tmp/content-test-XXXXXX";
    if (!::mkdtemp(pattern)) throw std::runtime_error("no temporary folder");
    path_ = pattern;
}

TempFolder::~TempFolder() {
    if (DIR* dir = ::opendir(path_.c_str())) {
        while (dirent* entry = ::readdir(dir)) {
            std::string name = entry->d_name;
            if (name != "." && name != "..") ::unlink((path_ + "/" + name).c_str());
        }
        ::closedir(dir);
    }
    ::rmdir(path_.c_str());
}

void TempFolder::Write(const std::string& name, const std::string& bytes) const {
    std::ofstream out(path_ + "/" + name, std::ios::binary);
    out << bytes;
}

}  // namespace ctest
