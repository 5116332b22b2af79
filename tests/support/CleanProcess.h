#pragma once

#include <string>
#include <vector>

#include "devhost/world/WorldModel.h"
#include "du/SmartPtr.h"

namespace support {

// Makes the process empty before and after a test: no world, no
// application, no traces or progress displays, no armed faults, and the
// host worker idle.
struct CleanProcess {
    CleanProcess();
    ~CleanProcess();
    CleanProcess(const CleanProcess&) = delete;
    CleanProcess& operator=(const CleanProcess&) = delete;
};

// Loads a world text, "" for the built-in sample world, failing the test
// with the loader's words on error.
du::SmartPtr<devhost::WorldModel> LoadWorld(const std::string& text);

// The entries of one trace channel since the trace was last cleared, as
// "type|text"; an actor's shutdown line is left out.
std::vector<std::string> Traces(const std::string& module, const std::string& name);

}  // namespace support
