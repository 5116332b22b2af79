// The host's tree model: guitree::GuiTree, its tree state and the listener
// that it hands to its interface.

#include <cstdint>
#include <deque>
#include <memory>

#include "devhost/platform/ActorTasks.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/Application.h"
#include "devhost/world/SceneModel.h"
#include "devhost/world/ViewModel.h"
#include "devhost/world/VisibilityRule.h"
#include "devhost/world/WorldLock.h"
#include "devhost/world/WorldModel.h"
#include "guitree/GuiInterface.h"
#include "guitree/GuiTree.h"
#include "guitree/SceneViewListener.h"
#include "guitree/StructureTreeState.h"

namespace devhost {

namespace {

struct TreeCore;

// What the interface tells the tree: the scene and view it shows.
class ListenerImpl : public guitree::SceneViewListener {
public:
    explicit ListenerImpl(const std::weak_ptr<TreeCore>& core) : core_(core) {}
    void OnView(const du::SmartPtr<qxk::View>& view) override;
    void OnViewClosed(const du::SmartPtr<qxk::View>& view) override;
    void OnScene(const du::SmartPtr<qxk::Scene>& scene) override;

private:
    std::weak_ptr<TreeCore> core_;
};

// An instance with its parent, as the interface is told of it.
struct Entry {
    du::SmartPtr<qxk::BaseInstance> instance;
    du::SmartPtr<qxk::BaseInstance> parent;
};

// Instances to report, kept alive until the interface has seen them.
struct Report {
    std::vector<du::SmartPtr<InstanceNode>> keep;
    guitree::VisAndIconChanges changes;
};

// The shared part of a GuiTree, reached by its listeners through weak
// pointers so that a tree that has gone is simply not told any more.
// Fields are guarded by the world lock.
//
// Calls for the interface are queued under the world lock, in the order in
// which the changes they tell of were seen, and run from that queue on the
// owner's thread. Listeners are called after the lock is released, so two
// changes made on two threads may reach the tree in either order; what is
// told is therefore worked out from the tree as it stands: an instance is
// created only while it is in the tree, so that no creation can follow the
// removal that ends it (the interface keeps plain pointers to instances).
using GuiCall = std::function<void(guitree::GuiInterface&)>;

struct TreeCore : std::enable_shared_from_this<TreeCore> {
    // The owner by its managed-object id, an alive-checked back reference: a
    // counted one would keep the owner alive through any interface that
    // holds the tree (owner -> interface -> tree -> owner). 0 once closed.
    unsigned long long ownerId = 0;
    guitree::GuiInterface* gui = nullptr;
    bool initialised = false;
    bool closed = false;
    du::SmartPtr<WorldModel> world;
    du::SmartPtr<qxk::ShapeScene> scene;
    du::SmartPtr<qxk::View> view;
    du::SmartPtr<ListenerImpl> listener;
    int treeListener = 0;
    int sceneListener = 0;
    int viewListener = 0;
    // What the tree keeps of an instance, by the instance's slot: whether it
    // was created for the interface and not removed since, with the packed
    // value last reported (kNothingSent before the first), and the last
    // ancestor walk that reached it. An array read per instance, where a
    // large change would otherwise hash every instance once per question.
    static constexpr int kUntold = -2;
    static constexpr int kNothingSent = -1;
    struct Kept {
        int told = kUntold;
        std::uint32_t walk = 0;
    };
    std::vector<Kept> kept;
    std::uint32_t walks = 0;  // the last walk's number
    std::deque<GuiCall> queue;
    bool draining = false;  // a run of the queue is posted or under way

    // Under the lock: queues a call. True when the caller must start a run
    // of the queue with Drain once the lock is released.
    bool Enqueue(GuiCall call) {
        if (closed) return false;
        queue.push_back(std::move(call));
        if (draining) return false;
        draining = true;
        return true;
    }

    // Runs the queue on the owner's actor thread with the interface. An
    // owner under no actor gets the calls on this thread; one that has gone,
    // or whose actor has ended, none: the interface's code may have gone
    // with it.
    void Drain() {
        std::shared_ptr<TreeCore> self = shared_from_this();
        unsigned long long target;
        {
            WorldGuard guard(WorldMutex());
            target = ownerId;
        }
        auto task = [self] {
            for (;;) {
                GuiCall call;
                guitree::GuiInterface* current;
                {
                    WorldGuard guard(WorldMutex());
                    if (self->closed || self->queue.empty()) {
                        self->queue.clear();
                        self->draining = false;
                        return;
                    }
                    call = std::move(self->queue.front());
                    self->queue.pop_front();
                    current = self->gui;
                }
                if (current) call(*current);
            }
        };
        if (target == 0) {  // no owner, or closed, which the task itself sees
            task();
            return;
        }
        switch (RouteTask(target, task)) {
            case TaskRoute::Posted:
                return;
            case TaskRoute::NoActor:
                task();
                return;
            case TaskRoute::Dropped:
                break;
        }
        WorldGuard guard(WorldMutex());
        queue.clear();
        draining = false;
    }

    // Under the lock.
    Kept& KeptOf(const InstanceNode& node) {
        if (node.slot >= kept.size()) kept.resize(node.slot + 1);
        return kept[node.slot];
    }
    bool Told(const InstanceNode& node) const { return node.slot < kept.size() && kept[node.slot].told != kUntold; }
    // Under the lock: marks the instance told unless it is already.
    void MarkTold(const InstanceNode& node) {
        Kept& entry = KeptOf(node);
        if (entry.told == kUntold) entry.told = kNothingSent;
    }

    // Under the lock: what changed of the given instances since last told.
    // Only instances the interface knows of are reported.
    void Collect(const std::vector<InstanceNode*>& instances, Report& report) {
        for (InstanceNode* node : instances) {
            if (!node->tree || !Told(*node)) continue;
            int& last = kept[node->slot].told;
            int packed = guitree::VisAndIconChanges::Pack(VisibilityStateOf(scene.get(), *node), TypeIconOf(*node));
            if (last == packed) continue;
            last = packed;
            report.changes.Set(node, packed);
            report.keep.emplace_back(node);
        }
    }

    // Under the lock: queues the report unless it is empty.
    bool EnqueueReport(const std::shared_ptr<Report>& report) {
        if (report->changes.empty()) return false;
        return Enqueue([report](guitree::GuiInterface& gui) { gui.UpdateVisAndTypeIcons(report->changes); });
    }

    // Under the lock: every instance of the tree, parents first.
    void AllInstances(std::vector<InstanceNode*>& all) {
        if (!world) return;
        std::vector<InstanceNode*> stack;
        const auto& roots = world->Tree().roots;
        for (auto it = roots.rbegin(); it != roots.rend(); ++it) stack.push_back(it->get());
        while (!stack.empty()) {
            InstanceNode* node = stack.back();
            stack.pop_back();
            all.push_back(node);
            for (auto it = node->children.rbegin(); it != node->children.rend(); ++it) stack.push_back(it->get());
        }
    }

    // Under the lock: the instances and all their ancestors, each once. A
    // walk up stops at the first instance this walk has reached before.
    void WithAncestors(const std::vector<InstanceNode*>& start, std::vector<InstanceNode*>& out) {
        if (++walks == 0) {  // the numbers went round: forget every old walk
            for (Kept& entry : kept) entry.walk = 0;
            walks = 1;
        }
        for (InstanceNode* node : start)
            for (InstanceNode* n = node; n; n = n->parent) {
                Kept& entry = KeptOf(*n);
                if (entry.walk == walks) break;
                entry.walk = walks;
                out.push_back(n);
            }
    }

    void Tell(InstanceNode* node, std::vector<Entry>& added);
    void WatchScene(const du::SmartPtr<qxk::ShapeScene>& newScene);
    void OnTreeChange(const TreeChange& change);
    void OnSceneChange(const std::vector<du::SmartPtr<qxk::Instance>>& changed);
    void OnActiveView(const du::SmartPtr<qxk::View>& active);
    void Unwatch();
    // Stops every further call. Under the lock.
    void Close();
};

void TreeCore::WatchScene(const du::SmartPtr<qxk::ShapeScene>& newScene) {
    if (scene == newScene) return;
    if (scene) RemoveSceneListener(*scene, sceneListener);
    scene = newScene;
    sceneListener = 0;
    if (!scene) return;
    std::weak_ptr<TreeCore> weak = shared_from_this();
    sceneListener = AddSceneListener(*scene, [weak](const std::vector<du::SmartPtr<qxk::Instance>>& changed) {
        if (auto core = weak.lock()) core->OnSceneChange(changed);
    });
}

// Under the lock: the instance for creation, after any ancestor that the
// interface has not been told of yet (whose own change is still on its way).
void TreeCore::Tell(InstanceNode* node, std::vector<Entry>& added) {
    std::vector<InstanceNode*> chain;
    for (InstanceNode* n = node; n && n->tree && !Told(*n); n = n->parent) chain.push_back(n);
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        MarkTold(**it);
        added.push_back({*it, (*it)->parent});
    }
}

void TreeCore::OnTreeChange(const TreeChange& change) {
    bool drain;
    if (change.cleared) {
        // What the interface was told stays told: the tree keeps the world
        // it showed, and with it those instances, until a removal says so.
        WorldGuard guard(WorldMutex());
        for (Kept& entry : kept)
            if (entry.told != kUntold) entry.told = kNothingSent;
        drain = Enqueue([](guitree::GuiInterface& gui) { gui.ClearTree(); });
    } else {
        auto removed = std::make_shared<std::vector<Entry>>();
        auto added = std::make_shared<std::vector<Entry>>();
        auto report = std::make_shared<Report>();
        WorldGuard guard(WorldMutex());
        std::vector<InstanceNode*> touched;
        for (std::size_t i = 0; i < change.removed.size(); ++i) {
            const auto& node = change.removed[i];
            if (node->tree) continue;  // back in the tree already
            // Told even when its creation never was: the interface's owner
            // may have found it by walking the tree.
            const auto& parent = change.removedParents[i];
            removed->push_back({node, parent});
            if (Told(*node)) kept[node->slot].told = kUntold;
            if (parent) touched.push_back(parent.get());
        }
        for (const auto& node : change.added) {
            Tell(node.get(), *added);
            touched.push_back(node.get());
        }
        std::vector<InstanceNode*> affected;
        WithAncestors(touched, affected);
        Collect(affected, *report);
        drain = false;
        if (!removed->empty() || !added->empty())
            drain = Enqueue([removed, added](guitree::GuiInterface& gui) {
                gui.StartTreeUpdate();
                for (const Entry& e : *removed) gui.InstanceRemove(e.instance, e.parent);
                for (const Entry& e : *added) gui.InstanceCreate(e.instance, e.parent, false);
                gui.FinishTreeUpdate();
            });
        drain = EnqueueReport(report) || drain;
    }
    if (drain) Drain();
}

void TreeCore::OnSceneChange(const std::vector<du::SmartPtr<qxk::Instance>>& changed) {
    auto report = std::make_shared<Report>();
    bool drain;
    {
        WorldGuard guard(WorldMutex());
        std::vector<InstanceNode*> start;
        start.reserve(changed.size());
        for (const auto& instance : changed) start.push_back(&Node(*instance));
        std::vector<InstanceNode*> affected;
        affected.reserve(changed.size());
        WithAncestors(start, affected);
        Collect(affected, *report);
        drain = EnqueueReport(report);
    }
    if (drain) Drain();
}

void TreeCore::OnActiveView(const du::SmartPtr<qxk::View>& active) {
    auto report = std::make_shared<Report>();
    bool drain;
    {
        WorldGuard guard(WorldMutex());
        view = active;
        bool sceneChanged = false;
        du::SmartPtr<qxk::Scene> viewScene;
        if (active) viewScene = active->GetViewState().scene;
        // The tree follows the active view when it shows a shape scene.
        auto shapeScene = du::DynamicCast<qxk::ShapeScene>(viewScene);
        if (shapeScene && shapeScene != scene) {
            WatchScene(shapeScene);
            sceneChanged = true;
            std::vector<InstanceNode*> all;
            AllInstances(all);
            Collect(all, *report);
        }
        drain = Enqueue(
            [active, sceneChanged](guitree::GuiInterface& gui) { gui.PostOnActiveViewChanged(active, sceneChanged); });
        if (!report->changes.empty())
            drain = Enqueue([report, active](guitree::GuiInterface& gui) {
                gui.UpdateVisAndTypeIconVisibleChanges(active, report->changes);
            }) || drain;
    }
    if (drain) Drain();
}

void TreeCore::Unwatch() {
    if (world && treeListener) world->Tree().RemoveListener(treeListener);
    if (scene && sceneListener) RemoveSceneListener(*scene, sceneListener);
    if (viewListener) RemoveActiveViewListener(viewListener);
    treeListener = sceneListener = viewListener = 0;
}

void TreeCore::Close() {
    if (closed) return;
    closed = true;
    Unwatch();
    gui = nullptr;
    queue.clear();
    kept.clear();
    ownerId = 0;
}

void ListenerImpl::OnView(const du::SmartPtr<qxk::View>& view) {
    if (auto core = core_.lock()) {
        WorldGuard guard(WorldMutex());
        core->view = view;
    }
}

void ListenerImpl::OnViewClosed(const du::SmartPtr<qxk::View>& view) {
    if (auto core = core_.lock()) {
        WorldGuard guard(WorldMutex());
        if (core->view == view) core->view = nullptr;
    }
}

void ListenerImpl::OnScene(const du::SmartPtr<qxk::Scene>& scene) {
    auto core = core_.lock();
    auto shapeScene = du::DynamicCast<qxk::ShapeScene>(scene);
    if (!core || !shapeScene) return;
    auto report = std::make_shared<Report>();
    bool drain;
    {
        WorldGuard guard(WorldMutex());
        if (core->closed || core->scene == shapeScene) return;
        core->WatchScene(shapeScene);
        std::vector<InstanceNode*> all;
        core->AllInstances(all);
        core->Collect(all, *report);
        drain = core->EnqueueReport(report);
    }
    if (drain) core->Drain();
}

}  // namespace

}  // namespace devhost

struct guitree::GuiTree::State {
    std::shared_ptr<devhost::TreeCore> core = std::make_shared<devhost::TreeCore>();
};

namespace guitree {

GuiTree::GuiTree(const du::SmartPtr<dom::ManagedObject>& owner) : state_(new State()) {
    if (owner) state_->core->ownerId = devhost::ObjectIdOf(*owner);
    state_->core->listener = new devhost::ListenerImpl(state_->core);
}

GuiTree::~GuiTree() {
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        state_->core->Close();
    }
    delete state_;
}

void GuiTree::SetTreeState(du::SmartPtr<TreeStateBase> state) {
    if (devhost::HitFault("guitree::GuiTree::SetTreeState")) return;
    treeState_ = state;
}

void GuiTree::SetGuiInterface(GuiInterface* gui) {
    if (devhost::HitFault("guitree::GuiTree::SetGuiInterface")) return;
    du::SmartPtr<SceneViewListener> listener;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        state_->core->gui = gui;
        listener = state_->core->listener;
    }
    // The interface learns of its listener at once, on the caller's thread,
    // so that it can name its scene before the tree's first events arrive.
    if (gui) gui->SetSceneViewListener(listener);
}

void GuiTree::Initialise(const du::SmartPtr<qxk::World>& world) {
    if (devhost::HitFault("guitree::GuiTree::Initialise")) return;
    auto core = state_->core;
    std::weak_ptr<devhost::TreeCore> weak = core;
    auto entries = std::make_shared<std::vector<devhost::Entry>>();
    auto report = std::make_shared<devhost::Report>();
    bool drain;
    {
        devhost::WorldGuard guard(devhost::WorldMutex());
        if (!world || core->closed || core->initialised) return;
        core->initialised = true;
        core->world = &devhost::Model(*world);
        core->treeListener = core->world->Tree().AddListener([weak](const devhost::TreeChange& change) {
            if (auto c = weak.lock()) c->OnTreeChange(change);
        });
        core->viewListener = devhost::AddActiveViewListener([weak](const du::SmartPtr<qxk::View>& view) {
            if (auto c = weak.lock()) c->OnActiveView(view);
        });
        if (!core->scene) {  // until the interface names one, the tree shows the active view's scene
            auto manager = devhost::CurrentSceneManager();
            if (manager && manager->active) {
                core->view = manager->active;
                core->WatchScene(du::DynamicCast<qxk::ShapeScene>(manager->active->GetViewState().scene));
            }
        }
        std::vector<devhost::InstanceNode*> all;
        core->AllInstances(all);
        entries->reserve(all.size());
        for (devhost::InstanceNode* node : all) {
            core->MarkTold(*node);
            entries->push_back({node, node->parent});
        }
        core->Collect(all, *report);
        // Queued with the lock still held, so that no change made after the
        // walk can reach the interface before these.
        drain = core->Enqueue([entries](GuiInterface& gui) {
            gui.StartTreeUpdate();
            for (const devhost::Entry& e : *entries) gui.InstanceCreate(e.instance, e.parent, false);
            gui.FinishTreeUpdate();
        });
        drain = core->EnqueueReport(report) || drain;
    }
    if (drain) core->Drain();
}

void GuiTree::Close() {
    if (devhost::HitFault("guitree::GuiTree::Close")) return;
    devhost::WorldGuard guard(devhost::WorldMutex());
    state_->core->Close();
}

du::SmartPtr<qxk::BaseTree> GuiTree::GetBaseTree() {
    if (devhost::HitFault("guitree::GuiTree::GetBaseTree")) return nullptr;
    devhost::WorldGuard guard(devhost::WorldMutex());
    return state_->core->world ? state_->core->world->tree : nullptr;
}

int TreeStateBase::GetVisibilityState(const du::SmartPtr<qxk::BaseInstance>&) { return VS_Num; }

StructureTreeState::StructureTreeState(GuiTree& tree, bool trackVisibility)
    : TreeStateBase(tree), trackVisibility_(trackVisibility) {}

StructureTreeState::~StructureTreeState() = default;

int StructureTreeState::GetVisibilityState(const du::SmartPtr<qxk::BaseInstance>& instance) {
    if (devhost::HitFault("guitree::StructureTreeState::GetVisibilityState")) return VS_Num;
    auto node = dynamic_cast<const devhost::InstanceNode*>(instance.get());
    if (!trackVisibility_ || !node) return VS_Num;
    devhost::WorldGuard guard(devhost::WorldMutex());
    return devhost::VisibilityStateOf(GetGuiTree().GetGuiTreeState().core->scene.get(), *node);
}

}  // namespace guitree
