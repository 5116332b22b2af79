#pragma once

#include <string>

#include "TestWorlds.h"
#include "devhost/world/WorldModel.h"
#include "du/SmartPtr.h"

namespace support {

// A world with its content, read from a file of its own in a fresh folder,
// where the test may put the files the world refers to.
class WorldFile {
public:
    explicit WorldFile(const std::string& text);
    const std::string& Folder() const { return folder_.Path(); }
    const du::SmartPtr<devhost::WorldModel>& World() const { return world_; }

private:
    ctest::TempFolder folder_;
    du::SmartPtr<devhost::WorldModel> world_;
};

}  // namespace support
