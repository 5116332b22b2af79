#include "tree/MyShapedEnumerator.h"

#include <algorithm>

MyShapedEnumerator::~MyShapedEnumerator() = default;

bool MyShapedEnumerator::VisitInstance(const du::SmartPtr<qxk::Instance>& instance) {
    instances.push_back(instance);
    return true;
}

std::vector<du::SmartPtr<qxk::Instance>> MyShapedEnumerator::CollectBranch(qxk::BaseInstance* instance) {
    MyShapedEnumerator enumerator;
    du::SmartPtr<qxk::Instance> start(dynamic_cast<qxk::Instance*>(instance));
    if (!start) return {};
    start->Visit(enumerator, qxk::BaseInstance::VT_DepthFirst);
    enumerator.instances.push_back(start);
    std::vector<du::SmartPtr<qxk::Instance>>& found = enumerator.instances;
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return std::move(found);
}
