#pragma once

#include <cstdio>

namespace du {

struct FileStat {
    unsigned long long size;  // bytes
    long long modificationTime;  // seconds since the epoch
};

class FileSystem {
public:
    static std::FILE* qxfopen(const char* path, const char* mode);
    // False when the path cannot be examined.
    static bool Stat(const char* path, FileStat* stat);
};

}  // namespace du
