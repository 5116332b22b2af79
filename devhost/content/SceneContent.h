#pragma once

#include <string>
#include <vector>

#include "devhost/content/Selection.h"
#include "dg/Color.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxannotations/Label.h"
#include "qxk/GeomOverride.h"
#include "qxk/Scene.h"
#include "qxk/ShapeInstance.h"

namespace devhost {

// A scene's selection manager, made with the scene's first use of it.
du::SmartPtr<SelectionManager> SelectionOf(const qxk::Scene& scene);

// Sets the selection of a scene of the application by the scene's name, and
// tells its observers; false when the application has no such scene.
bool SetSceneSelection(const std::string& sceneName, unsigned int selectionSet,
                       const std::vector<SelectionItemDesc>& items);

// Labels attached to a scene, in the order attached; the scene keeps them.
void AttachLabel(const qxk::Scene& scene, const du::SmartPtr<qxannotations::Label>& label);
std::vector<du::SmartPtr<qxannotations::Label>> LabelsOf(const qxk::Scene& scene);

// Markup state of one shape instance: markups are shown unless hidden, and
// have no colour override until one is set.
void SetMarkupVisibility(const qxk::ShapeInstance& shapeInstance, const du::Symbol& markupId,
                         qxk::GeomOverride::Visibility visibility);
qxk::GeomOverride::Visibility GetMarkupVisibility(const qxk::ShapeInstance& shapeInstance, const du::Symbol& markupId);
// A call that asked a shape instance to show or hide a markup of its own
// shape: which operation (ShowMarkup, HideMarkup, SetMarkupVisibility), the
// markup's id, the visibility and the operation object passed.
struct MarkupCall {
    const char* method;
    du::Symbol markupId;
    qxk::GeomOverride::Visibility visibility;
    du::SmartPtr<qxk::Operation> operation;
};
void RecordMarkupCall(const qxk::ShapeInstance& shapeInstance, const MarkupCall& call);
std::vector<MarkupCall> MarkupCallsOf(const qxk::ShapeInstance& shapeInstance);
void SetMarkupColor(const qxk::ShapeInstance& shapeInstance, const du::Symbol& markupId, const dg::Color& color);
bool GetMarkupColor(const qxk::ShapeInstance& shapeInstance, const du::Symbol& markupId, dg::Color& color);

}  // namespace devhost
