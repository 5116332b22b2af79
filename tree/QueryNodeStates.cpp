// The node state query: the visibility states of nodes and their branches
// down to a depth, read from the request text by hand.

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "du/StringUtil.h"
#include "guitree/TreeStateBase.h"
#include "publisher/TreeDocuments.h"
#include "tree/GuiTreeWatcher.h"
#include "tree/InstVisitor.h"
#include "tree/TextCut.h"

InstVisitor::~InstVisitor() = default;

bool InstVisitor::Visit(const du::SmartPtr<qxk::BaseInstance>& instance, unsigned int level) {
    if (static_cast<int>(level) > maxDepth && maxDepth != -1) return false;
    instances.push_back(instance);
    return true;
}

void InstVisitor::Order() {
    std::sort(instances.begin(), instances.end());
    instances.erase(std::unique(instances.begin(), instances.end()), instances.end());
}

namespace {

const char* const kStateWords[] = {
    nullptr,
    "State: VS_VisNoChdrnVis",
    "State: VS_NotVisNoChdrnVis",
    "State: VS_VisSomeChdrnVis",
    "State: VS_NotVisSomeChdrnVis",
    "State: VS_VisAllChdrnVis",
    "State: VS_NotVisAllChdrnVis",
    "State: VS_VisThumb",
    "State: VS_VisPartlyVis",
    "State: VS_Num",
};

// A position of the request text as the cut takes it: not found (-1)
// becomes npos.
std::size_t At(long long position) { return static_cast<std::size_t>(position); }

}  // namespace

// The text is cut at its last "[", "]", ":" and "}", so that the request is
// looser than JSON: the name of the depth's member is never read, and ids
// need no quotes.
void GuiTreeWatcher::QueryNodeStates(du::Symbol json) {
    if (json.find("nodes") < 0) return;
    const long long open = json.rfind("[");
    const long long close = json.rfind("]");
    if (open < 0 || close < 0) return;
    const std::string text = json.safe_c_str();
    std::vector<std::string> tokens;
    du::StringSplit(CutBetween(text, At(open), At(close)), tokens, ",");
    std::set<du::SmartPtr<qxk::BaseInstance>> roots;
    for (std::string token : tokens) {
        token.erase(std::remove(token.begin(), token.end(), '"'), token.end());
        if (qxk::BaseInstance* found = LookUpId(instancesById, token)) roots.insert(du::SmartPtr<qxk::BaseInstance>(found));
    }
    const long long brace = json.rfind("}");
    const long long colon = json.rfind(":");
    int depth = 0;
    std::istringstream in(CutBetween(text, At(colon), At(brace)));
    in >> depth;
    if (in.fail() || in.bad()) return;
    if (roots.empty()) return;

    InstVisitor visitor(depth);
    for (const auto& root : roots) root->Visit(visitor, qxk::BaseInstance::VT_DepthFirst);
    visitor.Order();

    guitree::TreeStateBase* state = guiTree->GetTreeState();
    if (!state) return;
    treeObserver->OnTreeUpdateBegin();
    webapi::HandBuiltStateChanges changes(*treeObserver, updateBatchSize, visitor.instances.size());
    for (const auto& instance : visitor.instances) {
        const int value = state->GetVisibilityState(instance);
        changes.Add(instance->GetUniqueId(), value);
        if (value >= 1 && value <= 9) tracer(dp::TT_Info) << kStateWords[value];
        changes.SendIfFull();
    }
    changes.Finish();
    treeObserver->OnTreeUpdateEnd();
}
