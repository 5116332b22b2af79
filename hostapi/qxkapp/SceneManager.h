#pragma once

#include "du/RefCounted.h"

namespace qxkapp {

// Owns the scenes and views of the application and knows the active view.
class SceneManager : public virtual du::RefCounted {
protected:
    SceneManager();
    ~SceneManager() override;
};

}  // namespace qxkapp
