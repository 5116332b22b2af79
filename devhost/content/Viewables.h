#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/Viewables.h"

namespace devhost {

// The three kinds of viewable a component can have.
enum class ViewableKind { Plain, Illustrate, Illustration3d };

// A viewable as a world file or a test describes it. Illustrate viewables
// hold nested ones; 3D illustrations may name a thumbnail file source.
struct ViewableDesc {
    ViewableKind kind = ViewableKind::Plain;
    du::Symbol name;
    du::Symbol type;
    du::Symbol thumbnail;  // null: no thumbnail
    std::vector<ViewableDesc> nested;
};

// Makes the viewable of the desc, with its nested viewables.
du::SmartPtr<qxk::ViewableSource> MakeViewable(const ViewableDesc& desc);

class ComponentNode final : public qxk::ComponentNode {
public:
    explicit ComponentNode(std::vector<du::SmartPtr<qxk::ViewableSource>> sources)
        : sources_(std::move(sources)) {}
    void GetViewableSources(std::vector<du::SmartPtr<qxk::ViewableSource>>& sources) const override;

private:
    const std::vector<du::SmartPtr<qxk::ViewableSource>> sources_;
};

// An instance's anchor: file sources are relative to the folder its world
// was read from, and their URLs are file URLs into that folder. A source
// that leaves the folder ("..") or is empty has no URL.
class Anchor final : public qxk::Anchor {
public:
    explicit Anchor(std::string folder) : folder_(std::move(folder)) {}
    bool GetURLForFileSource(const du::Symbol& fileSource, du::Symbol& url, bool absolute) const override;

    // Every GetURLForFileSource call, in order: the source and absolute.
    struct UrlRequest {
        du::Symbol source;
        bool absolute;
    };
    std::vector<UrlRequest> UrlRequests() const;

private:
    const std::string folder_;
    mutable std::mutex mutex_;
    mutable std::vector<UrlRequest> requests_;
};

// The local path of a file URL made by Anchor; false for any other URL.
bool LocalPathOfUrl(const du::Symbol& url, std::string& path);

}  // namespace devhost
