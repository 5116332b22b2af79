#pragma once

#include <string>

#include <rapidjson/document.h>

namespace modeltest {

// A file of Debian's assimp-testmodels, by its path under the package's
// folder of models.
std::string TestModel(const std::string& relative);
// The engine assembly: a binary glTF of 82 nodes.
std::string Engine();

// The JSON chunk of a binary glTF, read on its own, to compare the world
// with the file.
rapidjson::Document GlbJson(const std::string& path);

}  // namespace modeltest
