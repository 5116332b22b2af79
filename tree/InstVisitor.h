#pragma once

#include <set>

#include "du/SmartPtr.h"
#include "qxk/BaseInstance.h"
#include "qxk/BaseInstanceVisitor.h"

// Collects the instances of branches down to a depth: -1 is no limit, and
// any other negative depth collects nothing.
class InstVisitor : public qxk::BaseInstanceVisitor {
public:
    explicit InstVisitor(int maxDepth) : maxDepth(maxDepth) {}
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& instance, unsigned int level) override;
    ~InstVisitor() override;

    std::set<du::SmartPtr<qxk::BaseInstance>> instances;
    int maxDepth;
};
