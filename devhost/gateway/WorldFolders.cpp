#include "devhost/gateway/WorldFolders.h"

#include <algorithm>
#include <filesystem>
#include <mutex>

#include "devhost/samples/SampleWorlds.h"

namespace devhost::gateway {

namespace {

namespace fs = std::filesystem;

std::mutex& FoldersMutex() {
    static std::mutex mutex;
    return mutex;
}

std::vector<fs::path>& Folders() {
    static std::vector<fs::path> folders;
    return folders;
}

fs::path Canonical(const fs::path& path) {
    std::error_code failure;
    fs::path resolved = fs::weakly_canonical(path, failure);
    return failure ? fs::path() : resolved;
}

bool Inside(const fs::path& file, const fs::path& folder) {
    auto [end, unused] = std::mismatch(folder.begin(), folder.end(), file.begin(), file.end());
    (void)unused;
    return end == folder.end();
}

}  // namespace

std::string SamplesFolder() { return fs::path(DefaultSampleWorldPath()).parent_path().parent_path().string(); }

void WorldFolders::Set(const std::vector<std::string>& folders) {
    std::lock_guard<std::mutex> hold(FoldersMutex());
    Folders().clear();
    for (const std::string& folder : folders)
        if (fs::path resolved = Canonical(folder); !resolved.empty()) Folders().push_back(resolved);
}

std::vector<std::string> WorldFolders::Get() {
    std::lock_guard<std::mutex> hold(FoldersMutex());
    if (Folders().empty()) return {Canonical(SamplesFolder()).string()};
    std::vector<std::string> folders;
    for (const fs::path& folder : Folders()) folders.push_back(folder.string());
    return folders;
}

bool WorldFolders::Resolve(const std::string& path, std::string& file) {
    if (path.empty() || path.find('\0') != std::string::npos) return false;
    for (const std::string& folder : Get()) {
        const fs::path candidate = Canonical(fs::path(path).is_absolute() ? fs::path(path) : fs::path(folder) / path);
        std::error_code failure;
        if (candidate.empty() || !Inside(candidate, folder) || !fs::is_regular_file(candidate, failure)) continue;
        file = candidate.string();
        return true;
    }
    return false;
}

}  // namespace devhost::gateway
