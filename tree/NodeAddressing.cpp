#include "tree/NodeAddressing.h"

#include <sstream>

#include "qxk/Tree.h"
#include "qxk/World.h"

bool TextToId(const std::string& text, std::uint64_t& id) {
    std::istringstream in(text);
    std::uint64_t value = 0;
    in >> value;
    if (in.fail() || in.bad()) return false;
    id = value;
    return true;
}

qxk::BaseInstance* LookUpId(const InstanceMap& map, const std::string& text) {
    std::uint64_t id = 0;
    if (!TextToId(text, id)) return nullptr;
    auto found = map.find(id);
    return found == map.end() ? nullptr : found->second;
}

du::SmartPtr<qxk::Instance> FindInstanceAtPath(const du::Symbol& path) {
    du::SmartPtr<qxk::World> world = qxk::World::GetWorld();
    if (!world || !world->tree) return nullptr;
    return world->tree->FindInstance(path);
}

du::Symbol NearestInstancePath(const du::Symbol& path) {
    du::SmartPtr<qxk::World> world = qxk::World::GetWorld();
    if (!world || !world->tree) return du::Symbol::EMPTY;
    if (world->tree->FindInstance(path)) return path;
    const std::string text = path.str();
    const std::size_t cut = text.rfind('/');
    if (text.empty() || cut == std::string::npos) return du::Symbol::EMPTY;
    return NearestInstancePath(du::Symbol(text.substr(0, cut)));
}
