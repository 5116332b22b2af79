#include "tree/NodeVisitor.h"

#include "guitree/GuiTree.h"
#include "qxk/BaseTree.h"

NodeVisitor::NodeVisitor(du::SmartPtr<guitree::TreeStateBase> treeState) {
    if (!treeState) return;
    du::SmartPtr<qxk::BaseTree> tree = treeState->GetGuiTree().GetBaseTree();
    if (!tree) return;
    unsigned int count = 0;
    tree->GetNumInstances(count);
    instances.reserve(count);
}

bool NodeVisitor::Visit(const du::SmartPtr<qxk::BaseInstance>& instance, unsigned int) {
    instances.push_back(instance);
    return true;
}

NodeVisitor::~NodeVisitor() = default;
