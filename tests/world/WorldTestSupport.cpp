#include "WorldTestSupport.h"

#include <future>

#include <gtest/gtest.h>

#include "devhost/platform/ActorTasks.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/HostWorker.h"

namespace wtest {

namespace {

class OwnerObject : public dom::ManagedObject {};

}  // namespace

Owner::Owner() : object(new OwnerObject()), actor_(object, "world-test-owner") {
    actor_.Start();
    std::promise<std::thread::id> id;
    devhost::PostTask(object, [&id] { id.set_value(std::this_thread::get_id()); });
    threadId_ = id.get_future().get();
}

Owner::~Owner() { Sync(); }

void Owner::Sync() {
    devhost::DrainHostWorker();
    std::promise<void> done;
    if (devhost::PostTask(object, [&done] { done.set_value(); })) done.get_future().wait();
}

void RecordingGui::SetSceneViewListener(const du::SmartPtr<guitree::SceneViewListener>& l) {
    std::lock_guard<std::mutex> lock(mutex_);
    listener = l;
}

void RecordingGui::Note(const std::string& what, const std::string& path) {
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.push_back({what, path, std::this_thread::get_id()});
}

void RecordingGui::NoteChanges(const std::string& what, const guitree::VisAndIconChanges& changes) {
    Note(what, "");
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& element : changes) states_.emplace_back(element.first->GetIdPath().str(), (element.second >> 4) & 0xf);
}

void RecordingGui::UpdateVisAndTypeIcons(const guitree::VisAndIconChanges& changes) {
    NoteChanges("UpdateVisAndTypeIcons", changes);
}

void RecordingGui::UpdateVisAndTypeIconVisibleChanges(const du::SmartPtr<qxk::View>&,
                                                      const guitree::VisAndIconChanges& changes) {
    NoteChanges("UpdateVisAndTypeIconVisibleChanges", changes);
}

std::vector<GuiCall> RecordingGui::Calls() {
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

std::vector<std::string> RecordingGui::Names() {
    std::vector<std::string> names;
    for (const auto& call : Calls()) names.push_back(call.path.empty() ? call.what : call.what + " " + call.path);
    return names;
}

int RecordingGui::LastState(const std::string& path) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = states_.rbegin(); it != states_.rend(); ++it)
        if (it->first == path) return it->second;
    return 0;
}

void RecordingGui::Clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.clear();
    states_.clear();
}

du::SmartPtr<devhost::WorldModel> Load(const std::string& text) {
    try {
        return devhost::LoadWorldText(text);
    } catch (const devhost::WorldFileError& e) {
        ADD_FAILURE() << e.what();
        return nullptr;
    }
}

CleanWorld::~CleanWorld() {
    devhost::DrainHostWorker();
    devhost::DisarmAllFaults();
    devhost::DropApplication();
    devhost::DropWorld();
    devhost::ClearProgressDisplays();
}

}  // namespace wtest
