#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "qxannotations/LabelInfo.h"
#include "qxk/MemoryPoolAllocated.h"

namespace qxk {
class Scene;
}

namespace qxannotations {

// A free text label. Labels live in the kernel's memory pool; a scene that a
// label is attached to keeps it.
class Label : public qxk::MemoryPoolAllocated, public virtual du::RefCounted {
public:
    explicit Label(const LabelInfo& info);
    ~Label() override;

    const LabelInfo& GetInfo() const { return info_; }
    virtual void AttachToScene(const du::SmartPtr<qxk::Scene>& scene);

private:
    LabelInfo info_;
};

}  // namespace qxannotations
