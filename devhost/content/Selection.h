#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "qxk/Selection.h"

namespace devhost {

// One selected item as a world file or a test describes it.
struct SelectionItemDesc {
    bool hasRepresentation = true;  // false: GetRepresentation gives null
    du::Symbol contentType;
    std::vector<std::pair<du::Symbol, std::string>> fields;  // in the host's order
    std::set<du::Symbol> failingFields;  // GetField says false for these
};

// An item's self-description; fixed once made.
class SelectionRepresentation final : public qxk::SelectionItemRepresentation {
public:
    explicit SelectionRepresentation(SelectionItemDesc desc) : desc_(std::move(desc)) {}

    du::Symbol GetContentType() const override;
    void GetFieldNames(std::vector<du::Symbol>& names) const override;
    bool GetField(const du::Symbol& name, std::string& value) const override;

private:
    const SelectionItemDesc desc_;
};

class SelectionItem final : public qxk::SelectionItem {
public:
    explicit SelectionItem(const SelectionItemDesc& desc);

    du::SmartPtr<qxk::SelectionItemRepresentation> GetRepresentation() const override;
    const SelectionItemDesc& GetDesc() const { return desc_; }

private:
    const SelectionItemDesc desc_;
    const du::SmartPtr<qxk::SelectionItemRepresentation> representation_;
};

// The selection of one scene, set by world files and tests and read by the
// module. Registered observers are told of every change as
// devhost::NotifyObserver says: a managed one on its actor thread, and not
// once that actor has ended.
class SelectionManager final : public qxk::SelectionManager {
public:
    bool GetSelectedItems(unsigned int selectionSet, const du::Symbol& contentType,
                          std::vector<du::SmartPtr<qxk::SelectionItem>>& items,
                          qxk::ExpandRule rule) const override;
    void Clear() override;
    bool RegisterObserver(unsigned int selectionSet, const qxk::SelectionObserver& observer) override;

    // Control and inspection.
    void SetSelection(unsigned int selectionSet, const std::vector<SelectionItemDesc>& items);
    std::vector<SelectionItemDesc> GetSelection(unsigned int selectionSet) const;
    unsigned ClearCount() const;
    std::size_t ObserverCount() const;
    std::vector<du::ConstSmartPtr<qxk::SelectionObserver>> GetObservers() const;

private:
    struct Registration {
        unsigned int selectionSet;
        du::ConstSmartPtr<qxk::SelectionObserver> observer;
    };
    void Notify(unsigned int selectionSet) const;

    mutable std::mutex mutex_;
    std::map<unsigned int, std::vector<du::SmartPtr<SelectionItem>>> sets_;
    std::vector<Registration> observers_;
    unsigned clearCount_ = 0;
};

}  // namespace devhost
