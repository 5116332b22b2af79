// The plain bodies of guitree::GuiInterface: a control shows what it
// overrides and lets the rest pass.

#include "guitree/GuiInterface.h"

#include "qxk/ProgressCtrl.h"
#include "qxk/View.h"

namespace guitree {

GuiInterface::~GuiInterface() = default;
void GuiInterface::SetSceneViewListener(const du::SmartPtr<SceneViewListener>&) {}
void GuiInterface::StartTreeUpdate() {}
void GuiInterface::FinishTreeUpdate() {}
void GuiInterface::ClearTree() {}
void GuiInterface::InitialiseBeforePopulate() {}
void GuiInterface::RefreshSelection() {}
void GuiInterface::PostOnActiveViewChanged(const du::SmartPtr<qxk::View>&, bool) {}
void GuiInterface::UpdateStatusBar() {}
void GuiInterface::CheckListTypeCorrect() {}
void GuiInterface::UpdateFilterUI() {}
void GuiInterface::UpdateNodeNames() {}
void GuiInterface::UpdateTreeTable() {}
void GuiInterface::UpdateTooltips() {}
void GuiInterface::UpdateVisAndTypeIconVisibleChanges(const du::SmartPtr<qxk::View>&, const VisAndIconChanges&) {}
void GuiInterface::UpdateVisAndTypeIcons(const VisAndIconChanges&) {}
void GuiInterface::UnsyncInstances(bool) {}
void GuiInterface::StoreExpandedAndFirstVisibleBeforePopulate(bool) {}
void GuiInterface::RestoreExpandedAfterPopulate() {}
void GuiInterface::RestoreFirstVisible() {}
void GuiInterface::PostProcessingComplete() {}
bool GuiInterface::CheckPropsLoaded() { return true; }
bool GuiInterface::CheckAndUpdateNodeNameAndType(const du::SmartPtr<qxk::BaseInstance>&) { return false; }
void GuiInterface::MadeVisible(bool) {}
void GuiInterface::SelectItems(std::vector<du::SmartPtr<qxk::Object>>&) {}
void GuiInterface::DeselectItems(std::vector<du::SmartPtr<qxk::Object>>&) {}
void GuiInterface::ClearSelection() {}
void GuiInterface::SetAssocHlight(qxk::BaseInstance*, bool) {}
void GuiInterface::InstanceCreate(FilteredTree::Node*, const du::SmartPtr<TreeSelectionController>&, bool) {}
void GuiInterface::InstanceCreate(const du::SmartPtr<qxk::BaseInstance>&, const du::SmartPtr<qxk::BaseInstance>&,
                                  bool) {}
void GuiInterface::InstanceRemove(const du::SmartPtr<qxk::BaseInstance>&, const du::SmartPtr<qxk::BaseInstance>&) {}
bool GuiInterface::HasTypeIconChangedOnShapeInstanceRemove(SceneInfoLog*, const du::SmartPtr<qxk::ShapeInstance>&) {
    return false;
}
std::list<qxk::BaseInstance*>* GuiInterface::GetNonFilteredInsts1() { return nullptr; }
std::list<qxk::BaseInstance*>* GuiInterface::GetNonFilteredInsts2() { return nullptr; }
void GuiInterface::CheckAltPartNamePrefs() {}
du::Symbol GuiInterface::GetViewTypeString(const du::SmartPtr<qxk::View>&) { return du::Symbol::EMPTY; }
void GuiInterface::Reset() {}
bool GuiInterface::IsTreeVisibleInUI() const { return false; }
du::SmartPtr<qxk::ProgressCtrl> GuiInterface::CreateFilterProgressCtrl(const du::SmartPtr<qxk::AsyncEvent>&) {
    return nullptr;
}
void GuiInterface::FilterNodeCreate(FilteredTree::Node*) {}
bool GuiInterface::IsShowingAltPartNames() const { return false; }
void GuiInterface::CurrentViewChanged() {}
void GuiInterface::ContentHasChanged() {}
bool GuiInterface::IsValidView(const du::SmartPtr<qxk::View>& view) { return static_cast<bool>(view); }
void GuiInterface::UpdateMarkedInsts(const du::SmartPtr<qxk::ShapeScene>&) {}
void GuiInterface::InstanceMoved(const du::SmartPtr<qxk::illustration::SbomInstance>&,
                                 const du::SmartPtr<TreeSelectionController>&) {}
du::SmartPtr<qxk::View> GuiInterface::GetCS3DView() { return nullptr; }
du::SmartPtr<qxk::View> GuiInterface::GetCSSchView() { return nullptr; }
void GuiInterface::LoadSortingPrefs() {}

}  // namespace guitree
