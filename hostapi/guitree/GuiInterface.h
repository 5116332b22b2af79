#pragma once

#include <list>
#include <vector>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "guitree/FilteredTree.h"
#include "guitree/SceneViewListener.h"
#include "guitree/VisAndIconChanges.h"

namespace qxk {
class AsyncEvent;
class BaseInstance;
class Object;
class ProgressCtrl;
class ShapeInstance;
class ShapeScene;
class View;
namespace illustration {
class SbomInstance;
}
}  // namespace qxk

namespace guitree {


// What a tree control offers to the GuiTree that drives it. The GuiTree
// calls it on its owner's actor thread. Every operation has a plain body
// that does nothing; a control overrides what it shows.
class GuiInterface {
public:
    virtual ~GuiInterface();
    virtual void SetSceneViewListener(const du::SmartPtr<SceneViewListener>& listener);
    virtual void StartTreeUpdate();
    virtual void FinishTreeUpdate();
    virtual void ClearTree();
    virtual void InitialiseBeforePopulate();
    virtual void RefreshSelection();
    virtual void PostOnActiveViewChanged(const du::SmartPtr<qxk::View>& view, bool sceneChanged);
    virtual void UpdateStatusBar();
    virtual void CheckListTypeCorrect();
    virtual void UpdateFilterUI();
    virtual void UpdateNodeNames();
    virtual void UpdateTreeTable();
    virtual void UpdateTooltips();
    // view is the view whose change made other nodes visible.
    virtual void UpdateVisAndTypeIconVisibleChanges(const du::SmartPtr<qxk::View>& view,
                                                    const VisAndIconChanges& changes);
    virtual void UpdateVisAndTypeIcons(const VisAndIconChanges& changes);
    virtual void UnsyncInstances(bool all);
    virtual void StoreExpandedAndFirstVisibleBeforePopulate(bool store);
    virtual void RestoreExpandedAfterPopulate();
    virtual void RestoreFirstVisible();
    virtual void PostProcessingComplete();
    virtual bool CheckPropsLoaded();
    virtual bool CheckAndUpdateNodeNameAndType(const du::SmartPtr<qxk::BaseInstance>& instance);
    virtual void MadeVisible(bool visible);
    virtual void SelectItems(std::vector<du::SmartPtr<qxk::Object>>& items);
    virtual void DeselectItems(std::vector<du::SmartPtr<qxk::Object>>& items);
    virtual void ClearSelection();
    virtual void SetAssocHlight(qxk::BaseInstance* instance, bool on);
    virtual void InstanceCreate(FilteredTree::Node* node, const du::SmartPtr<TreeSelectionController>& controller,
                                bool select);
    // parent is null for a root.
    virtual void InstanceCreate(const du::SmartPtr<qxk::BaseInstance>& instance,
                                const du::SmartPtr<qxk::BaseInstance>& parent, bool select);
    virtual void InstanceRemove(const du::SmartPtr<qxk::BaseInstance>& instance,
                                const du::SmartPtr<qxk::BaseInstance>& parent);
    virtual bool HasTypeIconChangedOnShapeInstanceRemove(SceneInfoLog* log,
                                                         const du::SmartPtr<qxk::ShapeInstance>& shapeInstance);
    virtual std::list<qxk::BaseInstance*>* GetNonFilteredInsts1();
    virtual std::list<qxk::BaseInstance*>* GetNonFilteredInsts2();
    virtual void CheckAltPartNamePrefs();
    virtual du::Symbol GetViewTypeString(const du::SmartPtr<qxk::View>& view);
    virtual void Reset();
    virtual bool IsTreeVisibleInUI() const;
    virtual du::SmartPtr<qxk::ProgressCtrl> CreateFilterProgressCtrl(const du::SmartPtr<qxk::AsyncEvent>& event);
    virtual void FilterNodeCreate(FilteredTree::Node* node);
    virtual bool IsShowingAltPartNames() const;
    virtual void CurrentViewChanged();
    virtual void ContentHasChanged();
    virtual bool IsValidView(const du::SmartPtr<qxk::View>& view);
    virtual void UpdateMarkedInsts(const du::SmartPtr<qxk::ShapeScene>& scene);
    virtual void InstanceMoved(const du::SmartPtr<qxk::illustration::SbomInstance>& instance,
                               const du::SmartPtr<TreeSelectionController>& controller);
    virtual du::SmartPtr<qxk::View> GetCS3DView();
    virtual du::SmartPtr<qxk::View> GetCSSchView();
    virtual void LoadSortingPrefs();

protected:
    GuiInterface() = default;
    GuiInterface(const GuiInterface&) = delete;
    GuiInterface& operator=(const GuiInterface&) = delete;
};

}  // namespace guitree
