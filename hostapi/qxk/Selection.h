#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxk {

// How far selected assemblies are expanded into their members.
enum ExpandRule {
    ExpandNone = 0,
    ExpandChildren = 1,
    ExpandLeaves = 2,
    ExpandVisibleLeaves = 3,
    ExpandAsSelected = 4
};

// A selected item describing itself: a content type and named text fields.
class SelectionItemRepresentation : public virtual du::RefCounted {
public:
    virtual du::Symbol GetContentType() const = 0;
    // Appends the field names in the host's order.
    virtual void GetFieldNames(std::vector<du::Symbol>& names) const = 0;
    // False for a field the item cannot give; value is then left as it is.
    virtual bool GetField(const du::Symbol& name, std::string& value) const = 0;

protected:
    SelectionItemRepresentation() = default;
    ~SelectionItemRepresentation() override = default;
};

class SelectionItem : public virtual du::RefCounted {
public:
    // May be null: not every selected thing can describe itself.
    virtual du::SmartPtr<SelectionItemRepresentation> GetRepresentation() const = 0;

protected:
    SelectionItem() = default;
    ~SelectionItem() override = default;
};

// Told when the selection of a scene changes, with the number of items now
// selected. The selection manager keeps a reference to every registered
// observer.
class SelectionObserver : public virtual du::RefCounted {
public:
    virtual void OnSelectionChanged(unsigned int selectionSet, std::size_t itemCount) const = 0;

protected:
    SelectionObserver() = default;
    ~SelectionObserver() override = default;
};

// The selection of one scene. Selection sets are numbered; 0 is the main one.
class SelectionManager : public virtual du::RefCounted {
public:
    // Appends the selected items of the set, filtered by content type unless
    // the filter is empty. False when the selection cannot be read.
    virtual bool GetSelectedItems(unsigned int selectionSet, const du::Symbol& contentType,
                                  std::vector<du::SmartPtr<SelectionItem>>& items,
                                  ExpandRule rule) const = 0;
    virtual void Clear() = 0;
    virtual bool RegisterObserver(unsigned int selectionSet, const SelectionObserver& observer) = 0;

protected:
    SelectionManager() = default;
    ~SelectionManager() override = default;
};

}  // namespace qxk
