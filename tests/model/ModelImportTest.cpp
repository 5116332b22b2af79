// Worlds from 3D files: the structure against the file's own node list, the
// naming rule, shared meshes as shared shapes, base colours, other formats,
// the side file, and every broken file refused with its reason.

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "CleanProcess.h"
#include "ModelFiles.h"
#include "TestWorlds.h"
#include "devhost/model/LibraryImport.h"
#include "devhost/model/ModelFile.h"
#include "devhost/model/NodeNames.h"
#include "devhost/world/Application.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/ShapeGeometry.h"
#include "devhost/world/WorldControl.h"
#include "devhost/world/WorldLock.h"

namespace {

using devhost::model::LoadModelFile;
using devhost::model::ModelFileError;
using devhost::model::ModelInfo;
using modeltest::Engine;
using modeltest::TestModel;

// Every instance of the world's tree by idpath.
std::map<std::string, const devhost::InstanceNode*> Instances(devhost::WorldModel& world) {
    std::map<std::string, const devhost::InstanceNode*> found;
    devhost::WorldGuard guard(devhost::WorldMutex());
    std::vector<const devhost::InstanceNode*> pending;
    for (const auto& root : world.Tree().roots) pending.push_back(root.get());
    while (!pending.empty()) {
        const devhost::InstanceNode* node = pending.back();
        pending.pop_back();
        found[node->IdPath()] = node;
        for (const auto& child : node->children) pending.push_back(child.get());
    }
    return found;
}

const devhost::Placement* PlacementOf(devhost::WorldModel& world, const devhost::InstanceNode* node) {
    return devhost::GeometryOf(world)->Find(node->uid);
}

class ModelImport : public ::testing::Test {
protected:
    support::CleanProcess clean;
};

TEST_F(ModelImport, TheEngineGivesOneInstanceForEveryGltfNodeBelowOneRootNamedAfterTheFile) {
    const rapidjson::Document gltf = modeltest::GlbJson(Engine());
    ModelInfo info;
    auto world = LoadModelFile(Engine(), &info);
    const auto instances = Instances(*world);
    EXPECT_EQ(gltf["nodes"].Size() + 1, instances.size());
    EXPECT_EQ(83u, info.instances);
    ASSERT_EQ(1u, world->Tree().roots.size());
    EXPECT_STREQ("2CylinderEngine", world->Tree().roots.front()->name.safe_c_str());
    // The file's two root nodes sit right below the root, in file order.
    const auto& sceneRoots = gltf["scenes"][gltf["scene"].GetUint()]["nodes"];
    ASSERT_EQ(2u, world->Tree().roots.front()->children.size());
    EXPECT_EQ(sceneRoots.Size(), world->Tree().roots.front()->children.size());
    // Unnamed glTF nodes take the library's name, their place in the file's
    // node list; a parent's idpath leads to each of its children.
    for (rapidjson::SizeType n = 0; n < gltf["nodes"].Size(); ++n) {
        const auto& node = gltf["nodes"][n];
        EXPECT_FALSE(node.HasMember("name")) << n;
        const std::string segment = "nodes(" + std::to_string(n) + ")";
        const auto found = std::find_if(instances.begin(), instances.end(), [&](const auto& entry) {
            return entry.second->name == segment.c_str();
        });
        ASSERT_NE(instances.end(), found) << segment;
        if (!node.HasMember("children")) continue;
        for (const auto& child : node["children"].GetArray())
            EXPECT_TRUE(instances.count(found->first + "/nodes(" + std::to_string(child.GetUint()) + ")"))
                << found->first << " lacks child " << child.GetUint();
    }
    EXPECT_TRUE(instances.count("2CylinderEngine/nodes(0)/nodes(80)"));
}

TEST_F(ModelImport, NodesThatUseTheSameMeshShareOneShapeAndEveryMeshNodeIsShownInTheModelScene) {
    const rapidjson::Document gltf = modeltest::GlbJson(Engine());
    ModelInfo info;
    auto world = LoadModelFile(Engine(), &info);
    const auto instances = Instances(*world);
    std::map<unsigned, std::set<const devhost::ShapeGeometry*>> shapesOfMesh;
    std::size_t meshNodes = 0;
    for (rapidjson::SizeType n = 0; n < gltf["nodes"].Size(); ++n) {
        if (!gltf["nodes"][n].HasMember("mesh")) continue;
        ++meshNodes;
        const std::string segment = "nodes(" + std::to_string(n) + ")";
        for (const auto& [path, node] : instances)
            if (node->name == segment.c_str()) {
                const devhost::Placement* placed = PlacementOf(*world, node);
                ASSERT_NE(nullptr, placed) << path;
                shapesOfMesh[gltf["nodes"][n]["mesh"].GetUint()].insert(placed->shape.get());
            }
    }
    EXPECT_EQ(meshNodes, info.placed);
    for (const auto& [mesh, shapes] : shapesOfMesh) EXPECT_EQ(1u, shapes.size()) << "mesh " << mesh;
    EXPECT_EQ(shapesOfMesh.size(), info.shapes);
    EXPECT_LT(info.shapes, info.placed) << "the engine uses some meshes more than once";
    EXPECT_EQ(info.shapes, devhost::GeometryOf(*world)->shapes.size());

    auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("Model"));
    ASSERT_TRUE(scene);
    unsigned int count = 0;
    scene->GetNumShapeInstances(count);
    EXPECT_EQ(info.placed, count);
    EXPECT_STREQ("3D", devhost::CurrentSceneManager()->active->GetViewState().name.safe_c_str());
}

TEST_F(ModelImport, AMaterialsBaseColourBecomesTheShapesOwnColourAndTrianglesStayInsideTheirMesh) {
    const rapidjson::Document gltf = modeltest::GlbJson(Engine());
    auto world = LoadModelFile(Engine());
    std::set<unsigned> colours;
    for (const auto& [path, node] : Instances(*world)) {
        const devhost::Placement* placed = PlacementOf(*world, node);
        if (!placed) continue;
        const unsigned n = std::stoul(std::string(node->name.safe_c_str()).substr(6));
        const auto& primitives = gltf["meshes"][gltf["nodes"][n]["mesh"].GetUint()]["primitives"];
        if (primitives.Size() != 1) continue;  // a shape of several takes its largest primitive's colour
        const auto& material = gltf["materials"][primitives[0]["material"].GetUint()];
        const auto& factor = material["pbrMetallicRoughness"]["baseColorFactor"];
        const dg::Color expected(factor[0].GetFloat(), factor[1].GetFloat(), factor[2].GetFloat(), factor[3].GetFloat());
        EXPECT_EQ(expected.GetAsHex(), placed->shape->color.GetAsHex()) << path;
        colours.insert(placed->shape->color.GetAsHex());
        const auto vertices = static_cast<std::uint32_t>(placed->shape->positions.size() / 3);
        for (std::uint32_t index : placed->shape->indices) ASSERT_LT(index, vertices) << path;
        EXPECT_FALSE(placed->shape->box.Empty());
    }
    EXPECT_GT(colours.size(), 2u);
    // The host's colour of a shape instance is untouched: nobody painted it.
    for (const auto& entry : devhost::FindSceneNamed("Model")->GetSceneState().shapes)
        EXPECT_FALSE(entry.second->painted);
}

TEST_F(ModelImport, TheHouseColladaAndFbxFilesGiveWorldsAndNamelessOrRepeatedNodesFollowTheRule) {
    ModelInfo house;
    auto world = LoadModelFile(TestModel("IFC/AC14-FZK-Haus.ifc"), &house);
    EXPECT_STREQ("AC14-FZK-Haus", world->Tree().roots.front()->name.safe_c_str());
    EXPECT_GT(house.instances, 100u);
    EXPECT_GT(house.placed, 50u);

    ModelInfo duck;
    world = LoadModelFile(TestModel("Collada/duck.dae"), &duck);
    EXPECT_TRUE(Instances(*world).count("duck/LOD3sp"));
    EXPECT_EQ(1u, duck.placed);

    world = LoadModelFile(TestModel("FBX/cubes_nonames.fbx"));
    const auto instances = Instances(*world);
    for (const char* path : {"cubes_nonames/node", "cubes_nonames/node/node", "cubes_nonames/node~1",
                             "cubes_nonames/node~1/node"})
        EXPECT_TRUE(instances.count(path)) << path;
    EXPECT_EQ(5u, instances.size());
}

TEST(NodeNames, SeparatorsAreReplacedNoNameIsNodeAndRepeatsTakeTheirPlaceUntilFree) {
    EXPECT_EQ((std::vector<std::string>{"a", "a~1", "node", "_x_y", "node~4", "a~1~5", "nodes(3)", "p_q"}),
              devhost::model::SegmentNames({"a", "a", "", "/x/y", "", "a~1", "nodes[3]", "p,q"}));
    EXPECT_TRUE(devhost::model::SegmentNames({}).empty());
}

TEST_F(ModelImport, ASideFileGivesTheRestOfTheWorldAndItsMistakesAreTheModelsRefusal) {
    ctest::TempFolder folder;
    // A quad and a triangle: two objects of one OBJ file, written here.
    folder.Write("part.obj", "o plate\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n"
                             "o pin\nv 0 0 1\nv 1 0 1\nv 0 1 1\nf 5 6 7\n");
    ModelInfo info;
    auto world = LoadModelFile(folder.Path() + "/part.obj", &info);
    EXPECT_FALSE(info.sideFile);
    EXPECT_EQ(2u, info.placed);
    EXPECT_EQ(3u, info.triangles);  // the quad in two
    EXPECT_TRUE(devhost::FindSceneNamed("Model"));

    folder.Write("part.obj.world.json", R"({"scenes": [{"name": "Parts", "shapes": ["part/pin"],
        "views": [{"name": "Front", "kind": "shape"}, {"name": "Sheet", "kind": "drawing"}]}],
        "activeView": "Sheet", "messages": {"qxbase:qxkStrings": {"7000": "Loading"}}})");
    world = LoadModelFile(folder.Path() + "/part.obj", &info);
    EXPECT_TRUE(info.sideFile);
    EXPECT_FALSE(devhost::FindSceneNamed("Model"));
    EXPECT_TRUE(devhost::ShapeOf("Parts", "part/pin").present);
    EXPECT_FALSE(devhost::ShapeOf("Parts", "part/plate").present);
    EXPECT_STREQ("Sheet", devhost::CurrentSceneManager()->active->GetViewState().name.safe_c_str());

    folder.Write("part.obj.world.json", R"({"structure": []})");
    try {
        LoadModelFile(folder.Path() + "/part.obj");
        FAIL() << "a side file with a structure of its own";
    } catch (const ModelFileError& refused) {
        EXPECT_EQ(folder.Path() + "/part.obj.world.json: at /structure: the model gives the structure and the world",
                  refused.what());
    }
    EXPECT_TRUE(devhost::FindSceneNamed("Parts")) << "the world before stays";
}

TEST_F(ModelImport, EveryBrokenFileIsRefusedWithTheFileAndTheReasonAndNothingIsPublished) {
    const struct {
        const char* file;
        const char* reason;
    } broken[] = {
        {"glTF2/IndexOutOfRange/IndexOutOfRange.gltf", "out-of-range indices"},
        {"glTF2/IndexOutOfRange/AllIndicesOutOfRange.gltf", "has no faces"},
        {"glTF2/MissingBin/BoxTextured.gltf", "could not open referenced file \"BoxTextured0.bin\""},
        {"glTF2/RecursiveNodes/RecursiveNodes.gltf", "recursive reference"},
        {"glTF2/SchemaFailures/sceneWrongType.gltf", "Member \"scene\" was not of type \"uint\""},
        {"invalid/OutOfMemory.off", "more memory than a model can need"},
        {"invalid/empty.obj", "too small"},
        {"invalid/malformed.obj", "Invalid face index"},
        {"invalid/malformed2.obj", "failed to locate material"},
        {"invalid/readme.txt", "No suitable reader found"},
        {"glTF2/no-such-file.glb", "Unable to open file"},
    };
    for (const auto& file : broken) {
        // Uncapped, the library would reserve the 42 GB the file's header asks for.
        if (!devhost::model::ReadsCapped() && std::string(file.file) == "invalid/OutOfMemory.off") continue;
        const std::string path = TestModel(file.file);
        try {
            LoadModelFile(path);
            ADD_FAILURE() << file.file << " was read";
        } catch (const ModelFileError& refused) {
            const std::string text = refused.what();
            EXPECT_EQ(0u, text.find(path + ": ")) << text;
            EXPECT_NE(std::string::npos, text.find(file.reason)) << text;
        }
        EXPECT_FALSE(devhost::CurrentWorld()) << file.file;
    }
}

}  // namespace
