#include "devhost/content/Selection.h"

#include "devhost/platform/ActorTasks.h"
#include "devhost/platform/CountedIfAlive.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/HostChanges.h"

namespace devhost {

du::Symbol SelectionRepresentation::GetContentType() const {
    if (HitFault("qxk::SelectionItemRepresentation::GetContentType")) return du::Symbol();
    return desc_.contentType;
}

void SelectionRepresentation::GetFieldNames(std::vector<du::Symbol>& names) const {
    if (HitFault("qxk::SelectionItemRepresentation::GetFieldNames")) return;
    for (const auto& field : desc_.fields) names.push_back(field.first);
}

bool SelectionRepresentation::GetField(const du::Symbol& name, std::string& value) const {
    if (HitFault("qxk::SelectionItemRepresentation::GetField") || desc_.failingFields.count(name)) return false;
    for (const auto& field : desc_.fields) {
        if (field.first == name) {
            value = field.second;
            return true;
        }
    }
    return false;
}

SelectionItem::SelectionItem(const SelectionItemDesc& desc)
    : desc_(desc),
      representation_(desc.hasRepresentation ? new SelectionRepresentation(desc) : nullptr) {}

du::SmartPtr<qxk::SelectionItemRepresentation> SelectionItem::GetRepresentation() const {
    if (HitFault("qxk::SelectionItem::GetRepresentation")) return nullptr;
    return representation_;
}

bool SelectionManager::GetSelectedItems(unsigned int selectionSet, const du::Symbol& contentType,
                                        std::vector<du::SmartPtr<qxk::SelectionItem>>& items,
                                        qxk::ExpandRule) const {
    if (HitFault("qxk::SelectionManager::GetSelectedItems")) return false;
    // Items are kept as selected; the expand rule matters only for assembly
    // items, which this host selects as themselves.
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = sets_.find(selectionSet);
    if (found == sets_.end()) return true;
    for (const auto& item : found->second) {
        if (contentType.empty() || item->GetDesc().contentType == contentType) items.emplace_back(item);
    }
    return true;
}

void SelectionManager::Clear() {
    if (HitFault("qxk::SelectionManager::Clear")) return;
    std::vector<unsigned int> cleared;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++clearCount_;
        for (const auto& set : sets_) cleared.push_back(set.first);
        sets_.clear();
    }
    for (unsigned int set : cleared) Notify(set);
}

bool SelectionManager::RegisterObserver(unsigned int selectionSet, const qxk::SelectionObserver& observer) {
    if (HitFault("qxk::SelectionManager::RegisterObserver")) return false;
    std::lock_guard<std::mutex> lock(mutex_);
    observers_.push_back({selectionSet, du::ConstSmartPtr<qxk::SelectionObserver>(&observer)});
    return true;
}

void SelectionManager::SetSelection(unsigned int selectionSet, const std::vector<SelectionItemDesc>& items) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto& set = sets_[selectionSet];
        set.clear();
        for (const auto& desc : items) set.emplace_back(new SelectionItem(desc));
    }
    Notify(selectionSet);
}

std::vector<SelectionItemDesc> SelectionManager::GetSelection(unsigned int selectionSet) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SelectionItemDesc> descs;
    auto found = sets_.find(selectionSet);
    if (found != sets_.end())
        for (const auto& item : found->second) descs.push_back(item->GetDesc());
    return descs;
}

unsigned SelectionManager::ClearCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return clearCount_;
}

std::size_t SelectionManager::ObserverCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return observers_.size();
}

std::vector<du::ConstSmartPtr<qxk::SelectionObserver>> SelectionManager::GetObservers() const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<du::ConstSmartPtr<qxk::SelectionObserver>> observers;
    for (const auto& registration : observers_) observers.push_back(registration.observer);
    return observers;
}

void SelectionManager::Notify(unsigned int selectionSet) const {
    std::vector<du::ConstSmartPtr<qxk::SelectionObserver>> targets;
    std::size_t count = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto set = sets_.find(selectionSet);
        if (set != sets_.end()) count = set->second.size();
        for (const auto& registration : observers_)
            if (registration.selectionSet == selectionSet) targets.push_back(registration.observer);
    }
    if (selectionSet == 0)
        NoteHostChange({HostChange::Kind::Selection, nullptr, nullptr,
                        CountedIfAlive(const_cast<du::RefCounted*>(static_cast<const du::RefCounted*>(this)))});
    // Called outside the lock: an observer may read the selection back.
    for (const auto& observer : targets)
        NotifyObserver(*observer, [observer, selectionSet, count] { observer->OnSelectionChanged(selectionSet, count); });
}

}  // namespace devhost
