#pragma once

#include <memory>
#include <string>

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

namespace devhost::model {

// A 3D file read through the Open Asset Import Library, with the steps that
// keep its node hierarchy as the file has it: triangles made of polygons and
// points and lines split off, nothing flattened or merged. Throws
// ModelFileError with the library's reason when the file cannot be read,
// when the library drops data it could not use (faces with indices out of
// range, a missing material), or when reading would take more memory than a
// model of its size can need.
// Whether the library reads with the address space capped (not in sanitizer
// builds, whose shadow memory takes terabytes of it).
bool ReadsCapped();

class LibraryImport {
public:
    explicit LibraryImport(const std::string& path);
    ~LibraryImport();
    LibraryImport(const LibraryImport&) = delete;
    LibraryImport& operator=(const LibraryImport&) = delete;

    const aiScene& Scene() const { return *scene_; }

private:
    Assimp::Importer importer_;
    const aiScene* scene_ = nullptr;
};

}  // namespace devhost::model
