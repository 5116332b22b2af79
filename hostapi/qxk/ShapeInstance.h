#pragma once

#include "dg/Color.h"
#include "du/SmartPtr.h"
#include "qxk/GeomOverride.h"
#include "qxk/Object.h"
#include "qxk/Operation.h"

namespace qxg {
class Markup;
}

namespace qxk {

class Instance;
class ShapeScene;
class Shape;

// An instance as shown in one shape scene.
class ShapeInstance : public Object {
public:
    static constexpr ClassType CLASS_TYPE{0x07};

    // With branch true the shape instances of the instance's branch in the
    // same scene change too.
    void SetVisibility(bool visible, bool branch);
    bool IsVisible() const;
    // temporary colours are not kept with the scene; redraw asks for a
    // redraw at once rather than with the next frame.
    void SetColor(const dg::Color& color, bool temporary, bool redraw);
    dg::Color GetColor() const;
    du::SmartPtr<Instance> GetInstance() const;
    du::SmartPtr<ShapeScene> GetScene() const;

    void GetShape(du::SmartPtr<Shape>& shape) const;
    void ShowMarkup(const du::SmartPtr<qxg::Markup>& markup, const du::SmartPtr<Operation>& operation);
    void HideMarkup(const du::SmartPtr<qxg::Markup>& markup, const du::SmartPtr<Operation>& operation);
    void SetMarkupVisibility(const qxg::Markup* markup, GeomOverride::Visibility visibility,
                             const du::SmartPtr<Operation>& operation);
    void OverrideMarkupColor(const du::SmartPtr<qxg::Markup>& markup, const dg::Color& color);
    // False when the markup's colour is not overridden.
    bool GetMarkupColorOverride(const du::SmartPtr<qxg::Markup>& markup, dg::Color& color);

protected:
    ShapeInstance() = default;
    ~ShapeInstance() override = default;
    bool IsOfClass(unsigned int number) const override {
        return number == CLASS_TYPE.GetNumber() || Object::IsOfClass(number);
    }
};

}  // namespace qxk
