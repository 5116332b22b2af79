#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include <rapidjson/document.h>

#include "devhost/world/WorldBuilder.h"

namespace devhost {

// A world file that cannot be read, with the place in the file and what is
// wrong there.
class WorldFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reports a mistake at a place of the file, such as "/scenes/0/shapes/2".
[[noreturn]] void FailAt(const std::string& place, const std::string& what);

// Reads a top-level section that the world file itself does not know. It
// runs after the structure and the scenes are built and before the world is
// published, in the order of the file; place is the section's place
// ("/name"). Mistakes go through FailAt.
using WorldSectionHandler =
    std::function<void(const rapidjson::Value& value, WorldBuilder& builder, const std::string& place)>;
void RegisterWorldSection(const std::string& name, WorldSectionHandler handler);
void UnregisterWorldSection(const std::string& name);

// Builds the world of a file (format: WORLD_FORMAT.md) and publishes it.
// Throws WorldFileError naming the file and the place; nothing is published
// then.
du::SmartPtr<WorldModel> LoadWorldFile(const std::string& path);
// The same for a text in memory; origin names it in errors.
du::SmartPtr<WorldModel> LoadWorldText(const std::string& text, const std::string& origin = "<text>");
// Reads the rest of a world whose structure came from elsewhere (a 3D model)
// into the builder that holds it: a world file without "actorName", "tree"
// and "structure". Throws WorldFileError naming origin and the place; the
// caller publishes.
void ReadWorldSideText(const std::string& text, const std::string& origin, WorldBuilder& builder);

}  // namespace devhost
