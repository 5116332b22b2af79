#include "du/FileSystem.h"

#include <sys/stat.h>

namespace du {

std::FILE* FileSystem::qxfopen(const char* path, const char* mode) {
    if (!path || !mode) return nullptr;
    return std::fopen(path, mode);
}

bool FileSystem::Stat(const char* path, FileStat* stat) {
    struct ::stat info;
    if (!path || !stat || ::stat(path, &info) != 0) return false;
    stat->size = static_cast<unsigned long long>(info.st_size);
    stat->modificationTime = static_cast<long long>(info.st_mtime);
    return true;
}

}  // namespace du
