#pragma once

#include "du/SmartPtr.h"

namespace qxk {

class BaseInstance;
class Instance;

// Visitor of a walk over instances. The instance a walk starts from is at
// level 0, its children at level 1, and so on. Returning false from Visit
// skips the branch under that instance; the walk goes on elsewhere.
class BaseInstanceVisitor {
public:
    virtual bool Visit(const du::SmartPtr<BaseInstance>& instance, unsigned int level);
    virtual ~BaseInstanceVisitor();
};

// Visitor that sees only instances of the structure (qxk::Instance).
class InstanceVisitor : public BaseInstanceVisitor {
public:
    bool Visit(const du::SmartPtr<BaseInstance>& instance, unsigned int level) override;
    ~InstanceVisitor() override;
    virtual bool VisitInstance(const du::SmartPtr<Instance>& instance);
};

}  // namespace qxk
