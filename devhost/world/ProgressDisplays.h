#pragma once

#include <string>
#include <vector>

#include "du/SmartPtr.h"
#include "qxk/Scene.h"
#include "qxmk/Progress.h"
#include "qxmk/WebProgressEvent.h"

// The host's record of one progress display.
struct qxmk::WebProgressEvent::Display {
    int id = 0;  // the display's number in ProgressDisplays, 0 until started
    Progress::Type type = Progress::PT_Bar;
};

namespace devhost {

// A progress display as the client would see it.
struct ProgressDisplay {
    int id = 0;
    qxmk::Progress::Type type = qxmk::Progress::PT_Bar;
    du::SmartPtr<qxk::Scene> scene;
    std::string text;
    long long refreshTicks = 0;
    int percentage = 0;
    std::vector<int> percentages;  // every SetPercentage, in order
    bool running = true;           // false once ended
    unsigned int ticks = 0;        // refreshes by the display's timer
};

// Every display started since the last ClearProgressDisplays, in order.
std::vector<ProgressDisplay> ProgressDisplays();
void ClearProgressDisplays();

}  // namespace devhost
