#pragma once

#include <vector>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxk {

// Which entries of the table are meant.
enum AnnoSetContentType { AnnoSetContentAll = 0, AnnoSetContentModel = 1, AnnoSetContentIllustration = 2 };

class AnnoSetTableEntry : public virtual du::RefCounted {
public:
    virtual du::Symbol GetName() const = 0;
    // The property the set is defined on, such as "model".
    virtual du::Symbol GetPropName() const = 0;

protected:
    AnnoSetTableEntry() = default;
    ~AnnoSetTableEntry() override = default;
};

// The world's named annotation sets, in table order.
class AnnoSetTable : public virtual du::RefCounted {
public:
    virtual void GetEntries(std::vector<du::SmartPtr<AnnoSetTableEntry>>& entries,
                            AnnoSetContentType contentType) const = 0;
    virtual bool GetAnnotationEntry(const du::Symbol& name, AnnoSetContentType contentType,
                                    du::SmartPtr<AnnoSetTableEntry>& entry) const = 0;

protected:
    AnnoSetTable() = default;
    ~AnnoSetTable() override = default;
};

}  // namespace qxk
