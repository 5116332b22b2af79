#pragma once

// What the development host changes in what it shows, told to observers of
// the host's own (a page that follows the host, say). The module never sees
// these notes: they add no host call and change no document, and with no
// observer they cost one atomic read.

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "qxk/Instance.h"
#include "qxk/Scene.h"
#include "qxk/View.h"

namespace devhost {

struct HostChange {
    enum class Kind {
        ActiveView,       // the active view switched
        Views,            // views came or went
        Selection,        // a selection set of the scene whose selection manager is subject
        Shapes,           // shape instances of scene changed visibility or colour
        ShapesAdded,      // scene gained shape instances
        ShapesRemoved,    // scene lost the shape instances of ids
        Labels,           // scene's labels changed
        Progress,         // progress display number started, moved or ended
        WorkflowMessage,  // view's workflows got message number
        Zoom,             // view zoomed with code number
        ViewCommand,      // view ran command number
        AppliedSet,       // applied set number began or ended
        ModuleCall,       // an optional host module was called (text names it)
        PluginLink,       // the plug-in link was called: text the method, number its status
        World,            // the world was replaced
    };
    // Members in this order, each but the kind left out when not needed.
    HostChange(Kind kind, du::SmartPtr<qxk::Scene> scene = nullptr, du::SmartPtr<qxk::View> view = nullptr,
               du::SmartPtr<du::RefCounted> subject = nullptr, std::vector<du::SmartPtr<qxk::Instance>> instances = {},
               std::vector<std::uint64_t> ids = {}, int number = 0, std::string text = {})
        : kind(kind), scene(std::move(scene)), view(std::move(view)), subject(std::move(subject)),
          instances(std::move(instances)), ids(std::move(ids)), number(number), text(std::move(text)) {}

    Kind kind;
    du::SmartPtr<qxk::Scene> scene;
    du::SmartPtr<qxk::View> view;
    du::SmartPtr<du::RefCounted> subject;
    std::vector<du::SmartPtr<qxk::Instance>> instances;
    std::vector<std::uint64_t> ids;
    int number;
    std::string text;
};

// Observers are called on the thread that made the change, perhaps under
// the world lock: they take note and return, and read the host later.
using HostChangeObserver = std::function<void(const HostChange& change)>;
int AddHostChangeObserver(HostChangeObserver observer);
void RemoveHostChangeObserver(int id);

// True while any observer listens; a note that is costly to make is made
// only then.
bool HostChangesObserved();
void NoteHostChange(const HostChange& change);

}  // namespace devhost
