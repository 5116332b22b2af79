#pragma once

#include "du/SmartPtr.h"

namespace qxk {
class World;
}
namespace qxplugin {
class PluginHandlerIf;
}

namespace qxkapp {

class SceneManager;

// The viewer application.
class QxkApp {
public:
    // The application of the process, or null while there is none.
    static QxkApp* Get();

    du::SmartPtr<SceneManager> GetSceneManager();
    // The application's world, or null while there is none.
    void GetWorld(du::SmartPtr<qxk::World>& world);
    du::SmartPtr<qxplugin::PluginHandlerIf> GetPluginIf();

protected:
    QxkApp();
    virtual ~QxkApp();
    QxkApp(const QxkApp&) = delete;
    QxkApp& operator=(const QxkApp&) = delete;
};

}  // namespace qxkapp
