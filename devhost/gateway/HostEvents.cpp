#include "devhost/gateway/HostEvents.h"

#include <algorithm>

#include "devhost/content/SceneContent.h"
#include "devhost/content/WorldContent.h"
#include "devhost/gateway/GatewayContext.h"
#include "devhost/gateway/HostState.h"
#include "devhost/gateway/JsonReply.h"
#include "devhost/gateway/WorkerPool.h"
#include "devhost/world/Application.h"
#include "devhost/world/WorldLock.h"

namespace devhost::gateway {

namespace {

using Kind = HostChange::Kind;

// A burst of shape changes larger than this is not listed: the event asks
// the reader to read the host again, as a new world does.
constexpr std::size_t kMostShapes = 20000;

// How long the writer waits, after a change, for the rest of its burst.
constexpr std::chrono::milliseconds kBurst(5);

// Open host event streams at most, of the gateway's streams.
constexpr int kMostStreams = 16;

const char* KindName(Kind kind) {
    switch (kind) {
    case Kind::ActiveView: return "activeView";
    case Kind::Views: return "views";
    case Kind::Selection: return "selection";
    case Kind::Shapes: return "shapes";
    case Kind::ShapesAdded: return "shapesAdded";
    case Kind::ShapesRemoved: return "shapesRemoved";
    case Kind::Labels: return "labels";
    case Kind::Progress: return "progress";
    case Kind::WorkflowMessage: return "workflowMessage";
    case Kind::Zoom: return "zoom";
    case Kind::ViewCommand: return "viewCommand";
    case Kind::AppliedSet: return "appliedSet";
    case Kind::ModuleCall: return "moduleCall";
    case Kind::PluginLink: return "pluginLink";
    case Kind::World: return "world";
    }
    return "";
}

Json Text(const std::string& text, JsonAllocator& allocator) {
    return Json(text.c_str(), static_cast<rapidjson::SizeType>(text.size()), allocator);
}

// A scene of a world being built is not shown yet; the world's event
// follows its building.
bool Shown(const du::SmartPtr<qxk::Scene>& scene) {
    auto manager = CurrentSceneManager();
    if (!manager || !scene) return false;
    WorldGuard guard(WorldMutex());
    return std::find(manager->scenes.begin(), manager->scenes.end(), scene) != manager->scenes.end();
}

std::string SceneName(const du::SmartPtr<qxk::Scene>& scene) {
    WorldGuard guard(WorldMutex());
    return scene ? scene->GetSceneState().name.str() : std::string();
}

std::string ViewName(const du::SmartPtr<qxk::View>& view) {
    WorldGuard guard(WorldMutex());
    return view ? view->GetViewState().name.str() : std::string();
}

// A change that only adds to the one noted before it joins it, so that a
// burst costs one event.
bool Joins(const HostChange& before, const HostChange& change) {
    if (before.kind != change.kind || before.scene != change.scene) return false;
    switch (change.kind) {
    case Kind::Shapes:
    case Kind::ShapesAdded:
    case Kind::ShapesRemoved:
    case Kind::Selection:
    case Kind::Labels:
    case Kind::Views:
    case Kind::World:
        return before.subject == change.subject;
    case Kind::Progress:
    case Kind::AppliedSet:
        return before.number == change.number;
    default:
        return false;
    }
}

// A scene's shapes changed by its additions alone, which the addition
// noted before them tells already.
bool AddedJustBefore(const HostChange& before, const HostChange& change) {
    if (before.kind != Kind::ShapesAdded || change.kind != Kind::Shapes || before.scene != change.scene ||
        change.instances.size() > before.instances.size())
        return false;
    const auto tail = before.instances.end() - static_cast<std::ptrdiff_t>(change.instances.size());
    return std::all_of(change.instances.begin(), change.instances.end(), [&](const auto& instance) {
        return std::find(tail, before.instances.end(), instance) != before.instances.end();
    });
}

void Join(HostChange& into, const HostChange& change) {
    into.instances.insert(into.instances.end(), change.instances.begin(), change.instances.end());
    into.ids.insert(into.ids.end(), change.ids.begin(), change.ids.end());
}

// The scene whose selection manager a selection change names.
du::SmartPtr<qxk::Scene> SceneOfSelection(const du::SmartPtr<du::RefCounted>& manager) {
    auto scenes = CurrentSceneManager();
    if (!scenes || !manager) return nullptr;
    for (const auto& scene : scenes->GetScenes())
        if (static_cast<du::RefCounted*>(SelectionOf(*scene).get()) == manager.get()) return scene;
    return nullptr;
}

// The shape instances of a burst, each once, as the scene holds them now.
bool WriteShapes(const HostChange& change, Json& out, JsonAllocator& allocator) {
    std::vector<const qxk::Instance*> seen;
    Json shapes(rapidjson::kArrayType);
    WorldGuard guard(WorldMutex());
    const auto& table = change.scene->GetSceneState().shapes;
    for (const auto& instance : change.instances) {
        if (std::find(seen.begin(), seen.end(), instance.get()) != seen.end()) continue;
        seen.push_back(instance.get());
        if (const ShapeInstanceImpl* shape = table.Find(instance.get())) shapes.PushBack(ShapeJson(*shape, allocator), allocator);
    }
    if (shapes.Empty()) return false;
    out.AddMember("shapes", shapes, allocator);
    return true;
}

template <class Item, class List>
const Item* At(const List& list, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < list.size() ? &list[static_cast<std::size_t>(index)] : nullptr;
}

}  // namespace

// Changes noted and not yet written; shared with the host's observers,
// which may still be called a moment after they were removed.
struct HostEvents::Inbox {
    std::mutex mutex;
    std::condition_variable noted;
    std::vector<HostChange> changes;
    bool stopping = false;

    void Note(const HostChange& change) {
        std::lock_guard<std::mutex> lock(mutex);
        if (!changes.empty() && AddedJustBefore(changes.back(), change)) return;
        if (!changes.empty() && Joins(changes.back(), change))
            Join(changes.back(), change);
        else
            changes.push_back(change);
        noted.notify_one();
    }
};

HostEvents::HostEvents(std::size_t bound) : bound_(std::max<std::size_t>(bound, 1)), inbox_(std::make_shared<Inbox>()) {
    std::shared_ptr<Inbox> inbox = inbox_;
    observer_ = AddHostChangeObserver([inbox](const HostChange& change) { inbox->Note(change); });
    viewListener_ = AddActiveViewListener(
        [inbox](const du::SmartPtr<qxk::View>& view) { inbox->Note(HostChange(Kind::ActiveView, nullptr, view)); });
    writer_ = std::thread([this] { Run(); });
}

HostEvents::~HostEvents() {
    RemoveHostChangeObserver(observer_);
    RemoveActiveViewListener(viewListener_);
    {
        std::lock_guard<std::mutex> lock(inbox_->mutex);
        inbox_->stopping = true;
        inbox_->noted.notify_one();
    }
    writer_.join();
}

void HostEvents::Run() {
    for (;;) {
        std::vector<HostChange> changes;
        {
            std::unique_lock<std::mutex> lock(inbox_->mutex);
            inbox_->noted.wait(lock, [&] { return inbox_->stopping || !inbox_->changes.empty(); });
            // A moment for the rest of a burst, which then joins.
            inbox_->noted.wait_for(lock, kBurst, [&] { return inbox_->stopping; });
            if (inbox_->stopping) return;
            changes.swap(inbox_->changes);
        }
        for (const HostChange& change : changes) {
            // Only this thread numbers events, so the next number is known
            // before the event is written.
            std::string text = Write(change, Last() + 1);
            if (text.empty()) continue;
            std::lock_guard<std::mutex> lock(mutex_);
            events_.emplace_back(++last_, std::make_shared<const std::string>(std::move(text)));
            while (events_.size() > bound_) events_.pop_front();
            published_.notify_all();
        }
    }
}

std::string HostEvents::Write(const HostChange& change, std::uint64_t seq) const {
    rapidjson::Document event(rapidjson::kObjectType);
    auto& allocator = event.GetAllocator();
    event.AddMember("seq", seq, allocator);
    Kind kind = change.kind;
    if ((kind == Kind::Shapes || kind == Kind::ShapesAdded) && change.instances.size() > kMostShapes) kind = Kind::World;
    event.AddMember("kind", rapidjson::StringRef(KindName(kind)), allocator);
    switch (kind) {
    case Kind::World:
        if (change.kind != Kind::World) event.AddMember("reason", "many shapes changed", allocator);
        break;
    case Kind::Views:
        break;
    case Kind::ActiveView:
        event.AddMember("view", ViewNameJson(change.view, allocator), allocator);
        break;
    case Kind::Selection: {
        du::SmartPtr<qxk::Scene> scene = SceneOfSelection(change.subject);
        if (!scene) return "";
        event.AddMember("scene", Text(SceneName(scene), allocator), allocator);
        event.AddMember("selection", SelectionJson(*scene, allocator), allocator);
        break;
    }
    case Kind::Shapes:
    case Kind::ShapesAdded:
        if (!Shown(change.scene)) return "";
        event.AddMember("scene", Text(SceneName(change.scene), allocator), allocator);
        if (!WriteShapes(change, event, allocator)) return "";
        break;
    case Kind::ShapesRemoved: {
        if (!change.scene) return "";
        event.AddMember("scene", Text(SceneName(change.scene), allocator), allocator);
        Json ids(rapidjson::kArrayType);
        for (std::uint64_t id : change.ids) ids.PushBack(id, allocator);
        event.AddMember("ids", ids, allocator);
        break;
    }
    case Kind::Labels:
        if (!change.scene) return "";
        event.AddMember("scene", Text(SceneName(change.scene), allocator), allocator);
        event.AddMember("labels", LabelsJson(*change.scene, allocator), allocator);
        break;
    case Kind::Progress: {
        const std::vector<ProgressDisplay> displays = ProgressDisplays();
        auto found = std::find_if(displays.begin(), displays.end(),
                                  [&](const ProgressDisplay& each) { return each.id == change.number; });
        if (found == displays.end()) return "";
        event.AddMember("progress", ProgressJson(*found, allocator), allocator);
        break;
    }
    case Kind::WorkflowMessage: {
        if (!change.view) return "";
        const std::vector<WorkflowMessage> messages = WorkflowMessages(*change.view);
        const WorkflowMessage* message = At<WorkflowMessage>(messages, change.number);
        if (!message) return "";
        event.AddMember("view", Text(ViewName(change.view), allocator), allocator);
        event.AddMember("message", WorkflowMessageJson(*message, allocator), allocator);
        break;
    }
    case Kind::Zoom:
    case Kind::ViewCommand:
        if (!change.view) return "";
        event.AddMember("view", Text(ViewName(change.view), allocator), allocator);
        event.AddMember(rapidjson::StringRef(kind == Kind::Zoom ? "code" : "command"), change.number, allocator);
        break;
    case Kind::AppliedSet: {
        auto content = CurrentContent();
        const auto sets = content ? content->AppliedSets() : std::vector<WorldContent::AppliedSet>();
        const WorldContent::AppliedSet* applied = At<WorldContent::AppliedSet>(sets, change.number);
        if (!applied) return "";
        Json set = AppliedSetJson(*applied, allocator);
        set.AddMember("index", change.number, allocator);
        event.AddMember("set", set, allocator);
        break;
    }
    case Kind::ModuleCall: {
        auto content = CurrentContent();
        const auto calls = content ? content->ModuleCalls()->Calls() : std::vector<ModuleCall>();
        const ModuleCall* call = At<ModuleCall>(calls, change.number);
        if (!call) return "";
        event.AddMember("call", ModuleCallJson(*call, allocator), allocator);
        break;
    }
    case Kind::PluginLink: {
        Json call(rapidjson::kObjectType);
        call.AddMember("method", Text(change.text, allocator), allocator);
        if (change.text == "OnAnnotationsApplied") {
            call.AddMember("status", change.number, allocator);
            call.AddMember("success", change.number == 0, allocator);
        } else {
            call.AddMember("selectionSet", change.number, allocator);
        }
        event.AddMember("call", call, allocator);
        break;
    }
    }
    return JsonText(event);
}

HostEvents::Batch HostEvents::After(std::uint64_t after, std::chrono::milliseconds wait) {
    Batch batch;
    std::unique_lock<std::mutex> lock(mutex_);
    const std::uint64_t oldest = events_.empty() ? last_ + 1 : events_.front().first;
    if (after > last_ || after + 1 < oldest) {
        batch.missed = true;
        batch.resume = last_;
        return batch;
    }
    published_.wait_for(lock, wait, [&] { return last_ > after; });
    for (auto it = events_.rbegin(); it != events_.rend() && it->first > after; ++it) batch.events.push_back(*it);
    std::reverse(batch.events.begin(), batch.events.end());
    return batch;
}

std::uint64_t HostEvents::Last() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return last_;
}

namespace {

// Server-Sent Events of the host's changes, each with its number as its id,
// so that a reader that reconnects (EventSource sends Last-Event-ID) gets
// what it missed; one that asks from too far back, or from a number this
// host never gave, gets a "world" event that has it read everything again.
void Events(GatewayContext& context, const std::shared_ptr<HostEvents>& events,
            const std::shared_ptr<std::atomic<int>>& open, const httplib::Request& request,
            httplib::Response& response) {
    const std::string since =
        request.has_param("since") ? request.get_param_value("since") : request.get_header_value("Last-Event-ID");
    unsigned long long after = 0;
    if (!since.empty() && !ReadSessionId(since, after)) {
        ReplyError(response, 400, "bad-request", "host/events[?since=SEQ], SEQ a whole number");
        return;
    }
    if (since.empty()) after = events->Last();
    WorkerPool* pool = context.pool.load();
    if (open->fetch_add(1) >= kMostStreams || !pool || !pool->BeginStream()) {
        open->fetch_sub(1);
        ReplyError(response, 503, "too-many-streams",
                   "at most " + std::to_string(kMostStreams) + " host event streams are served at once");
        return;
    }
    // The stream's thread and count are given back when httplib lets go of
    // the provider.
    std::shared_ptr<void> held(nullptr, [open, pool](void*) {
        open->fetch_sub(1);
        pool->EndStream();
    });
    auto next = std::make_shared<std::uint64_t>(after);
    response.set_header("Cache-Control", "no-store");
    response.set_chunked_content_provider(
        "text/event-stream", [&context, events, next, held](std::size_t, httplib::DataSink& sink) {
            if (context.stopping || !sink.is_writable()) return false;
            HostEvents::Batch batch = events->After(*next, std::chrono::milliseconds(250));
            std::string text;
            if (batch.missed) {
                *next = batch.resume;
                text = "id: " + std::to_string(*next) + "\ndata: {\"seq\":" + std::to_string(*next) +
                       ",\"kind\":\"world\",\"reason\":\"missed events\"}\n\n";
            }
            for (const auto& [seq, event] : batch.events) {
                text += "id: " + std::to_string(seq) + "\ndata: " + *event + "\n\n";
                *next = seq;
            }
            if (text.empty()) text = ":\n\n";
            return sink.write(text.data(), text.size());
        });
}

}  // namespace

void AddHostEventRoutes(httplib::Server& server, GatewayContext& context) {
    auto events = std::make_shared<HostEvents>();
    auto open = std::make_shared<std::atomic<int>>(0);
    server.Get("/host/events", [&context, events, open](const httplib::Request& request, httplib::Response& response) {
        Events(context, events, open, request, response);
    });
}

}  // namespace devhost::gateway
