#pragma once

#include <string>

#include "TestWorlds.h"

namespace support {

// A world with its content, read from a file of its own in a fresh folder,
// where the test may put the files the world refers to.
class WorldFile {
public:
    explicit WorldFile(const std::string& text);
    const std::string& Folder() const { return folder_.Path(); }

private:
    ctest::TempFolder folder_;
};

}  // namespace support
