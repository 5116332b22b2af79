#pragma once

#include <string>

namespace ctest {

// A small world for the content tests: two shape instances of one shared
// shape in the scene "Model" shown by the active view "Main", thumbnails in
// the folder given, and whatever content sections are added after it.
std::string SmallWorld(const std::string& extraSections);

// A fresh folder for files a test writes; removed with its files when the
// object goes.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    const std::string& Path() const { return path_; }
    // Writes a file of that name into the folder.
    void Write(const std::string& name, const std::string& bytes) const;

private:
    std::string path_;
};

}  // namespace ctest
