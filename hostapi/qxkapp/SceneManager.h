#pragma once

#include <vector>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace qxk {
class AnnoSetTable;
class AnnoSetTableEntry;
class Scene;
class Tree;
class View;
class Window;
}  // namespace qxk

namespace qxkapp {

class SceneLoadedEvent;

// Owns the scenes and views of the application and knows the active view.
class SceneManager : public virtual du::RefCounted {
public:
    // The active view, or null.
    du::SmartPtr<qxk::View> GetActiveView();
    // Makes a view of this manager active, or none with null; tree models
    // follow it. notify also tells the viewer's window frame, which the
    // development host only records. False for a view that the manager does
    // not hold.
    bool SetActiveView(const du::SmartPtr<qxk::View>& view, bool notify);
    std::vector<du::SmartPtr<qxk::Scene>> GetScenes();
    std::vector<du::SmartPtr<qxk::View>> GetViews();

    // Links the selections of the scenes; view, when given, leads.
    void EnableCrossSelection(du::SmartPtr<qxk::View> view);
    void DisableCrossSelection();

    // A null scene removes every view.
    void RemoveAllViews(const du::SmartPtr<qxk::Scene>& scene);
    void RemoveAllScenes();
    du::SmartPtr<qxk::Scene> CreateScene(const du::SmartPtr<qxk::AnnoSetTableEntry>& entry,
                                         const du::SmartPtr<qxk::Tree>& tree);
    du::SmartPtr<qxk::View> CreateView(const du::SmartPtr<qxk::Scene>& scene,
                                       const du::SmartPtr<qxk::Window>& window);
    void SetAnnotationSetTable(const du::SmartPtr<qxk::AnnoSetTable>& table);
    // Applies an annotation set to a scene; the event completes when done.
    void ApplyAnnotations(const du::SmartPtr<qxk::Scene>& scene, const du::SmartPtr<qxk::AnnoSetTableEntry>& entry,
                          const du::SmartPtr<qxk::Tree>& tree, SceneLoadedEvent* event, unsigned int mask,
                          bool keepCamera);

protected:
    SceneManager() = default;
    ~SceneManager() override = default;
};

}  // namespace qxkapp
