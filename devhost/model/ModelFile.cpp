#include "devhost/model/ModelFile.h"

#include <fstream>
#include <sstream>

#include <rapidjson/document.h>

#include "devhost/model/LibraryImport.h"
#include "devhost/model/ModelStructure.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/ViewModel.h"
#include "devhost/world/WorldFile.h"

namespace devhost::model {

namespace {

// The file's name without its folder and its last extension.
std::string Stem(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0) name.erase(dot);
    return name.empty() ? std::string("model") : name;
}

bool ReadText(const std::string& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::ostringstream content;
    content << in.rdbuf();
    text = content.str();
    return true;
}

// Whether a side file's text names scenes of its own; a text that is no
// JSON object names none, and its reader reports what is wrong with it.
bool NamesScenes(const std::string& text) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(text.c_str(), text.size());
    return !document.HasParseError() && document.IsObject() && document.HasMember("scenes");
}

// One scene of every shape, shown, and a shape view on it made active. The
// scene is a 3D illustration's, so that RestoreInstancesVisibility shows
// every shape again in its own colour.
void AddModelScene(WorldBuilder& builder, const std::vector<InstanceNode*>& placed) {
    du::SmartPtr<qxk::ShapeScene> scene = MakeIllustration3dScene(du::Symbol("Model"));
    builder.AddScene(scene);
    for (InstanceNode* instance : placed) builder.AddShape(*scene, *instance, true);
    builder.SetActiveView(builder.AddView(scene, ViewKindNumber("shape"), "3D"));
}

}  // namespace

du::SmartPtr<WorldModel> LoadModelFile(const std::string& path, ModelInfo* info) {
    ModelInfo counted;
    LibraryImport import(path);
    WorldBuilder builder;
    std::vector<InstanceNode*> placed;
    try {
        BuildStructure(import.Scene(), path, Stem(path), builder, placed, counted);
    } catch (const std::invalid_argument& refused) {  // the builder's, which the naming rule should prevent
        throw ModelFileError(path + ": " + refused.what());
    }
    const std::string sidePath = path + ".world.json";
    std::string side;
    counted.sideFile = ReadText(sidePath, side);
    if (!counted.sideFile || !NamesScenes(side)) AddModelScene(builder, placed);
    if (counted.sideFile) {
        try {
            ReadWorldSideText(side, sidePath, builder);
        } catch (const WorldFileError& wrong) {
            throw ModelFileError(wrong.what());
        }
    }
    if (info) *info = counted;
    return builder.Publish();
}

}  // namespace devhost::model
