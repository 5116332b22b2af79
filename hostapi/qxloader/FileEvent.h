#pragma once

#include "du/Symbol.h"
#include "qxk/AsyncEvent.h"

namespace qxloader {

// Completes when a file fetched by the loader is on local disk; the local
// path is set before completion. A failed fetch leaves the path as it was.
class FileEvent : public qxk::AsyncEvent {
public:
    FileEvent() = default;
    ~FileEvent() override = default;

    const du::Symbol& GetLocalPath() const { return localPath_; }
    void SetLocalPath(const du::Symbol& path) { localPath_ = path; }

private:
    du::Symbol localPath_;
};

}  // namespace qxloader
