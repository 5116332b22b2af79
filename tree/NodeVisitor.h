#pragma once

#include <vector>

#include "du/SmartPtr.h"
#include "guitree/TreeStateBase.h"
#include "qxk/BaseInstance.h"
#include "qxk/BaseInstanceVisitor.h"

// Gathers every instance of a tree, in the order of the walk.
class NodeVisitor : public qxk::BaseInstanceVisitor {
public:
    // Makes room for all the instances of the state's tree.
    explicit NodeVisitor(du::SmartPtr<guitree::TreeStateBase> treeState);
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& instance, unsigned int level) override;
    ~NodeVisitor() override;

    std::vector<du::SmartPtr<qxk::BaseInstance>> instances;
};
