#pragma once

#include <vector>

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

    // Once the walks are done: each instance once, ordered by pointer value,
    // as a set keyed by pointer holds them. One sort of the whole walk costs
    // far less than keeping a large set ordered at every insertion.
    void Order();

    std::vector<du::SmartPtr<qxk::BaseInstance>> instances;  // in walk order until Order
    int maxDepth;
};
