#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "devhost/world/InstanceNode.h"
#include "devhost/world/ShapeGeometry.h"
#include "devhost/world/WorldModel.h"
#include "dg/Color.h"
#include "du/SmartPtr.h"
#include "qxk/Scene.h"
#include "qxk/ShapeScene.h"
#include "qxk/View.h"

namespace devhost {

// Builds a world, its scenes and views in code, then publishes it as the
// world of the process. Building is linear in the number of instances: no
// step searches more than the siblings' index. Mistakes (a taken name, a
// name with "/", an id used twice) throw std::invalid_argument.
class WorldBuilder {
public:
    // Without a tree the world shows none (see WorldModel): instances can't be
    // added to it.
    explicit WorldBuilder(const std::string& actorName = "world", bool withTree = true);
    // A builder that never published lets go of what it made.
    ~WorldBuilder();
    WorldBuilder(const WorldBuilder&) = delete;
    WorldBuilder& operator=(const WorldBuilder&) = delete;

    WorldModel& World() const { return *world_; }

    // A new instance under parent, or a root when parent is null. Under a
    // proxy it joins the proxy's unread branch. uid 0 takes a fresh id.
    InstanceNode& AddInstance(InstanceNode* parent, const std::string& name, std::uint64_t uid = 0);
    // Makes an instance with no children yet a proxy; what is added under it
    // afterwards is its unread branch, or, for one that starts expanded, its
    // branch in the tree.
    void MakeProxy(InstanceNode& node, ProxyOutcome outcome, ProxyCompletion completion,
                   ProxyStart start = ProxyStart::Unread);
    // An instance of the tree (not of an unread branch) by idpath, or null.
    InstanceNode* Find(const std::string& idPath) const;
    // Names the world's primary structure; "structure" unless named.
    void SetStructureName(const std::string& name) { structureName_ = name; }

    du::SmartPtr<qxk::ShapeScene> AddShapeScene(const std::string& name);
    // Adds a scene made elsewhere, such as one of another host part.
    void AddScene(const du::SmartPtr<qxk::Scene>& scene);
    du::SmartPtr<qxk::Scene> FindScene(const std::string& name) const;
    // A view of the class number on the scene; names of views are unique.
    du::SmartPtr<qxk::View> AddView(const du::SmartPtr<qxk::Scene>& scene, unsigned int classNumber,
                                    const std::string& name);
    du::SmartPtr<qxk::View> FindView(const std::string& name) const;
    void SetActiveView(const du::SmartPtr<qxk::View>& view) { activeView_ = view; }
    // Gives the instance a shape instance in the scene.
    void AddShape(qxk::ShapeScene& scene, InstanceNode& instance, bool visible);
    void AddShape(qxk::ShapeScene& scene, InstanceNode& instance, bool visible, const dg::Color& color);
    // Gives the instance a shape's geometry, placed in the world by the
    // transform; instances that share a shape share its geometry.
    void Place(InstanceNode& instance, const du::SmartPtr<ShapeGeometry>& shape, const Transform& transform = kIdentity);
    // Texts of a message resource, such as "qxbase:qxkStrings".
    void AddMessages(const std::string& resource, const std::map<std::string, std::string>& texts);

    // Makes the world the world of the process, registers its messages, and
    // gives the application (made if there is none) these scenes and views in
    // place of those it had, with the active view. A builder publishes once.
    du::SmartPtr<WorldModel> Publish();

private:
    du::SmartPtr<WorldModel> world_;
    std::string structureName_ = "structure";
    std::unordered_set<std::uint64_t> explicitIds_;
    std::unordered_set<const ShapeGeometry*> placedShapes_;
    std::uint64_t lowestAuto_ = 0;
    std::uint64_t highestAuto_ = 0;
    std::vector<du::SmartPtr<qxk::Scene>> scenes_;
    std::vector<du::SmartPtr<qxk::View>> views_;
    du::SmartPtr<qxk::View> activeView_;
    std::map<std::string, std::map<std::string, std::string>> messages_;
    bool published_ = false;
};

}  // namespace devhost
