#include "devhost/content/PluginHandler.h"

namespace devhost {

void PluginHandler::OnAnnotationsApplied(bool success) {
    std::lock_guard<std::mutex> lock(mutex_);
    annotationsApplied_.push_back(success);
}

void PluginHandler::OnSelectionChanged(unsigned int selectionSet) {
    std::lock_guard<std::mutex> lock(mutex_);
    selectionChanges_.push_back(selectionSet);
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
