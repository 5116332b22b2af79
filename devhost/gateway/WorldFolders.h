#pragma once

#include <string>
#include <vector>

namespace devhost::gateway {

// The folders whose world files the host's control may load. A path given
// over HTTP is read only when it resolves (links followed) to a file under
// one of them; any other is refused in the same words whether or not a file
// is there, so that the control cannot be used to learn what exists.
class WorldFolders {
public:
    // Replaces the folders; the samples folder alone until first set.
    static void Set(const std::vector<std::string>& folders);
    static std::vector<std::string> Get();
    // The file a path names (relative paths are taken in each folder in
    // turn), when it is a regular file under one of the folders.
    static bool Resolve(const std::string& path, std::string& file);
};

// The folder of the built-in samples.
std::string SamplesFolder();

}  // namespace devhost::gateway
