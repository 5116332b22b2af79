#pragma once

#include <string>

#include "commands/WebApiModuleImpl.h"
#include "dom/MessageQueue.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace webapi {

// The module's actor object as the actor thread hosts it.
class WebApiModuleThread : public WebApiModuleImpl {
public:
    WebApiModuleThread() = default;
    ~WebApiModuleThread() override = default;

    // True for the component "world", "web", "api" only: exact,
    // case-sensitive words of exact length.
    bool MatchesComponent(const std::string& first, const std::string& second, const std::string& third);

    // "WebApiModuleThread-" and the world's actor name, built on first use
    // and never rebuilt, so a world that comes later changes nothing.
    du::Symbol GetActorName();

    // Keeps the queue and binds the module to it under its actor name.
    void AttachQueue(const du::SmartPtr<dom::MessageQueue>& attached);

    // Runs once the loop has ended, however it ended: lets go of the tree.
    void OnActorStopped();

private:
    du::Symbol actorName;
    du::SmartPtr<dom::MessageQueue> queue;
};

}  // namespace webapi
