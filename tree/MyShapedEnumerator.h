#pragma once

#include <vector>

#include "du/SmartPtr.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Instance.h"

// Collects the instances of a branch.
class MyShapedEnumerator : public qxk::InstanceVisitor {
public:
    ~MyShapedEnumerator() override;
    bool VisitInstance(const du::SmartPtr<qxk::Instance>& instance) override;

    // The branch under instance, with the instance itself, each once and
    // ordered by pointer value, as a set keyed by pointer holds them; empty
    // for an instance that is not one of the structure. Gathered in walk
    // order and sorted once, which costs far less than keeping a large set
    // ordered at every insertion.
    static std::vector<du::SmartPtr<qxk::Instance>> CollectBranch(qxk::BaseInstance* instance);

    std::vector<du::SmartPtr<qxk::Instance>> instances;  // in walk order
};
