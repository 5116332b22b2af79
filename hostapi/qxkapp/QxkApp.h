#pragma once

#include "du/SmartPtr.h"

namespace qxkapp {

class SceneManager;

// The viewer application.
class QxkApp {
public:
    // The application of the process, or null while there is none.
    static QxkApp* Get();

    du::SmartPtr<SceneManager> GetSceneManager();

protected:
    QxkApp();
    virtual ~QxkApp();
};

}  // namespace qxkapp
