#pragma once

#include "du/Symbol.h"
#include "qxk/ShapeScene.h"

namespace qxk {
namespace illustration {

// The scene of a 3D illustration: a shape scene whose figures may hide
// instances; RestoreFigureVisibility shows every instance again.
class Illustration3dScene : public ShapeScene {
public:
    static constexpr ClassType CLASS_TYPE{0x35};

    void RestoreFigureVisibility();

protected:
    explicit Illustration3dScene(const du::Symbol& name) : ShapeScene(name) {}
    ~Illustration3dScene() override = default;
    bool IsOfClass(unsigned int number) const override {
        return number == CLASS_TYPE.GetNumber() || ShapeScene::IsOfClass(number);
    }
};

}  // namespace illustration
}  // namespace qxk
