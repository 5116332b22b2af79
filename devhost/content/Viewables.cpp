#include "devhost/content/Viewables.h"

#include <utility>

#include "devhost/platform/Faults.h"

namespace devhost {
namespace {

const char kFileScheme[] = "file://";

template <class Base>
class Viewable : public Base {
public:
    explicit Viewable(const ViewableDesc& desc) : name_(desc.name), type_(desc.type) {}
    du::Symbol GetDisplayName() const override {
        return HitFault("qxk::ViewableSource::GetDisplayName") ? du::Symbol() : name_;
    }
    du::Symbol GetViewableType() const override {
        return HitFault("qxk::ViewableSource::GetViewableType") ? du::Symbol() : type_;
    }

private:
    const du::Symbol name_;
    const du::Symbol type_;
};

class IllustrateViewable final : public Viewable<qxk::IllustrateSource> {
public:
    explicit IllustrateViewable(const ViewableDesc& desc) : Viewable(desc) {
        for (const auto& nested : desc.nested) nested_.push_back(MakeViewable(nested));
    }
    const std::vector<du::SmartPtr<qxk::ViewableSource>> GetViewableSources() const override {
        if (HitFault("qxk::IllustrateSource::GetViewableSources")) return {};
        return nested_;
    }

private:
    std::vector<du::SmartPtr<qxk::ViewableSource>> nested_;
};

class Illustration3dViewable final : public Viewable<qxk::Illustration3dSource> {
public:
    explicit Illustration3dViewable(const ViewableDesc& desc) : Viewable(desc), thumbnail_(desc.thumbnail) {}
    du::Symbol GetThumbnailSource() const override {
        return HitFault("qxk::Illustration3dSource::GetThumbnailSource") ? du::Symbol() : thumbnail_;
    }

private:
    const du::Symbol thumbnail_;
};

}  // namespace

du::SmartPtr<qxk::ViewableSource> MakeViewable(const ViewableDesc& desc) {
    switch (desc.kind) {
        case ViewableKind::Illustrate: return new IllustrateViewable(desc);
        case ViewableKind::Illustration3d: return new Illustration3dViewable(desc);
        case ViewableKind::Plain: break;
    }
    return new Viewable<qxk::ViewableSource>(desc);
}

void ComponentNode::GetViewableSources(std::vector<du::SmartPtr<qxk::ViewableSource>>& sources) const {
    if (HitFault("qxk::ComponentNode::GetViewableSources")) return;
    sources.insert(sources.end(), sources_.begin(), sources_.end());
}

bool Anchor::GetURLForFileSource(const du::Symbol& fileSource, du::Symbol& url, bool absolute) const {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back({fileSource, absolute});
    }
    if (HitFault("qxk::Anchor::GetURLForFileSource")) return false;
    const std::string source = fileSource.str();
    if (source.empty() || source.find("..") != std::string::npos) return false;
    // Relative or absolute, the loader wants a full URL: both forms give one.
    url = du::Symbol(kFileScheme + folder_ + "/" + (source[0] == '/' ? source.substr(1) : source));
    return true;
}

std::vector<Anchor::UrlRequest> Anchor::UrlRequests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

bool LocalPathOfUrl(const du::Symbol& url, std::string& path) {
    const std::string text = url.str();
    const std::string scheme(kFileScheme);
    if (text.compare(0, scheme.size(), scheme) != 0) return false;
    path = text.substr(scheme.size());
    return !path.empty();
}

}  // namespace devhost
