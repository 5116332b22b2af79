#include "devhost/content/PluginHandler.h"

#include "devhost/world/HostChanges.h"

namespace devhost {

void PluginHandler::OnAnnotationsApplied(bool success) {
    std::lock_guard<std::mutex> lock(mutex_);
    annotationsApplied_.push_back(success);
    NoteHostChange({HostChange::Kind::PluginLink, nullptr, nullptr, nullptr, {}, {}, success ? 0 : 1, "OnAnnotationsApplied"});
}

void PluginHandler::OnSelectionChanged(unsigned int selectionSet) {
    std::lock_guard<std::mutex> lock(mutex_);
    selectionChanges_.push_back(selectionSet);
    NoteHostChange({HostChange::Kind::PluginLink, nullptr, nullptr, nullptr, {}, {}, static_cast<int>(selectionSet),
                    "OnSelectionChanged"});
}

std::vector<bool> PluginHandler::AnnotationsApplied() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return annotationsApplied_;
}

std::vector<unsigned int> PluginHandler::SelectionChanges() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return selectionChanges_;
}

}  // namespace devhost
