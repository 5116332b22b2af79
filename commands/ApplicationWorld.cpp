#include "commands/ApplicationWorld.h"

#include "qxkapp/QxkApp.h"

namespace webapi {

du::SmartPtr<qxk::World> ApplicationWorld() {
    du::SmartPtr<qxk::World> world;
    if (qxkapp::QxkApp* const app = qxkapp::QxkApp::Get()) app->GetWorld(world);
    return world;
}

}  // namespace webapi
