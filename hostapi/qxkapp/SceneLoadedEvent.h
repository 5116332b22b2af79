#pragma once

#include "qxk/AsyncEvent.h"

namespace qxkapp {

// Completes when a scene has been loaded or an annotation set applied.
class SceneLoadedEvent : public qxk::AsyncEvent {
public:
    SceneLoadedEvent() = default;
    ~SceneLoadedEvent() override = default;

    // Names the event in the host's traces.
    virtual const char* GetEventName() const { return "SceneLoadedEvent"; }
};

}  // namespace qxkapp
