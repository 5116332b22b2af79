#pragma once

#include <set>

#include "du/SmartPtr.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Instance.h"

// Collects the instances of a branch.
class MyShapedEnumerator : public qxk::InstanceVisitor {
public:
    ~MyShapedEnumerator() override;
    bool VisitInstance(const du::SmartPtr<qxk::Instance>& instance) override;

    // The branch under instance, with the instance itself, by pointer value;
    // empty for an instance that is not one of the structure.
    static std::set<du::SmartPtr<qxk::Instance>> CollectBranch(qxk::BaseInstance* instance);

    std::set<du::SmartPtr<qxk::Instance>> instances;
};
