#include "devhost/content/AnnoSets.h"

#include "devhost/platform/Faults.h"

namespace devhost {
namespace {

bool Matches(const AnnoSetTableEntry& entry, qxk::AnnoSetContentType contentType) {
    return contentType == qxk::AnnoSetContentAll || entry.GetDesc().contentType == contentType;
}

}  // namespace

du::Symbol AnnoSetTableEntry::GetName() const {
    return HitFault("qxk::AnnoSetTableEntry::GetName") ? du::Symbol() : desc_.name;
}

du::Symbol AnnoSetTableEntry::GetPropName() const {
    return HitFault("qxk::AnnoSetTableEntry::GetPropName") ? du::Symbol() : desc_.propName;
}

AnnoSetTable::AnnoSetTable(const std::vector<AnnoSetDesc>& sets) {
    for (const auto& set : sets) entries_.emplace_back(new AnnoSetTableEntry(set));
}

void AnnoSetTable::GetEntries(std::vector<du::SmartPtr<qxk::AnnoSetTableEntry>>& entries,
                              qxk::AnnoSetContentType contentType) const {
    if (HitFault("qxk::AnnoSetTable::GetEntries")) return;
    for (const auto& entry : entries_)
        if (Matches(*entry, contentType)) entries.emplace_back(entry);
}

bool AnnoSetTable::GetAnnotationEntry(const du::Symbol& name, qxk::AnnoSetContentType contentType,
                                      du::SmartPtr<qxk::AnnoSetTableEntry>& entry) const {
    if (HitFault("qxk::AnnoSetTable::GetAnnotationEntry")) return false;
    for (const auto& candidate : entries_) {
        if (candidate->GetName() == name && Matches(*candidate, contentType)) {
            entry = candidate;
            return true;
        }
    }
    return false;
}

}  // namespace devhost
