// Loading branches into the scene, with the proxy reads that a load waits
// for and the load events that carry it on.

#include "qxk/IdMap.h"
#include "qxk/ShapeInstance.h"
#include "qxk/Tree.h"
#include "qxk/World.h"
#include "tree/GuiTreeWatcher.h"
#include "tree/LoadEvents.h"
#include "tree/MyShapedEnumerator.h"

void GuiTreeWatcher::LoadInstancePaths(PathSet paths) {
    if (paths.empty()) return;
    du::SmartPtr<qxk::World> world = qxk::World::GetWorld();
    if (!world || !world->tree) return;
    PathSet unresolved;
    for (const du::Symbol& path : paths) {
        du::SmartPtr<qxk::Instance> instance = world->tree->FindInstance(path);
        if (!instance) {
            unresolved.insert(path);
        } else if (!instance->IsProxy() || instance->IsProxyExpanded()) {
            ShowInstanceBranch(instance.get());
        } else if (instance->IsExpandableProxy()) {
            unresolved.insert(path);
        } else if (instance->HasProxyExpandFailed()) {
            tracer(dp::TT_Info) << path << " is a proxy that failed to expand.";
        }
    }
    PathSet starts;
    for (const du::Symbol& path : unresolved) {
        du::Symbol nearest = FindNearestInstancePath(path);
        if (!nearest.empty()) starts.insert(nearest);
    }
    if (starts.empty()) return;
    du::SmartPtr<LoadBranchLinkEvent> load(new LoadBranchLinkEvent(this, unresolved));
    Track(load);
    du::SmartPtr<ExpandProxyEventSet> reads(new ExpandProxyEventSet(du::SmartPtr<qxk::AsyncEvent>(load)));
    for (const du::Symbol& start : starts) {
        du::SmartPtr<qxk::Instance> instance = world->tree->FindInstance(start);
        if (!instance) continue;
        du::SmartPtr<qxk::AsyncSetEvent> read = reads->CreateNewEvent();
        if (!read) continue;
        managedOwner->ManageObject(du::SmartPtr<dom::ManagedObject>(read));
        reads->AddEvent(read);
        load->LinkChildEvent(read.get());
        instance->ExpandProxy(1, read.get(), nullptr, nullptr, nullptr, false, false);
    }
}

// Adds a shape instance only where the scene has none, and shows the one it
// has otherwise; the scene loader adds one for every instance it loads.
void GuiTreeWatcher::ShowInstanceBranch(qxk::BaseInstance* instance) {
    if (!shapeScene) return;
    const auto branch = MyShapedEnumerator::CollectBranch(instance);
    shapeScene->BeginUpdateGroup();
    for (const auto& member : branch) {
        if (member->IsProxy() && !member->IsProxyExpanded() && member->IsExpandableProxy() &&
            !member->HasProxyExpandFailed()) {
            du::SmartPtr<LoadBranchLinkEvent> load(new LoadBranchLinkEvent(this, member.get()));
            Track(load);
            member->ExpandProxy(1, load.get(), nullptr, nullptr, nullptr, false, false);
            continue;
        }
        du::SmartPtr<qxk::ShapeInstance> shape;
        if (shapeScene->GetShapeInstance(du::ConstSmartPtr<qxk::Instance>(member), shape) && shape)
            shape->SetVisibility(true, false);
        else
            shapeScene->AddShapeInstance(member, qxk::ShapeScene::AM_VisibleFetch);
    }
    shapeScene->EndUpdateGroup();
}
