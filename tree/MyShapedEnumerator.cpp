#include "tree/MyShapedEnumerator.h"

MyShapedEnumerator::~MyShapedEnumerator() = default;

bool MyShapedEnumerator::VisitInstance(const du::SmartPtr<qxk::Instance>& instance) {
    instances.insert(instance);
    return true;
}

std::set<du::SmartPtr<qxk::Instance>> MyShapedEnumerator::CollectBranch(qxk::BaseInstance* instance) {
    MyShapedEnumerator enumerator;
    du::SmartPtr<qxk::Instance> start(dynamic_cast<qxk::Instance*>(instance));
    if (!start) return {};
    start->Visit(enumerator, qxk::BaseInstance::VT_DepthFirst);
    enumerator.instances.insert(start);
    return std::move(enumerator.instances);
}
