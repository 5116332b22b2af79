#pragma once

#include <vector>

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxk {

// Something of a component that can be opened in a viewer of its own: a
// drawing, a document, an illustration.
class ViewableSource : public virtual du::RefCounted {
public:
    virtual du::Symbol GetDisplayName() const = 0;
    virtual du::Symbol GetViewableType() const = 0;

protected:
    ViewableSource() = default;
    ~ViewableSource() override = default;
};

// An illustration package: holds further viewables.
class IllustrateSource : public ViewableSource {
public:
    virtual const std::vector<du::SmartPtr<ViewableSource>> GetViewableSources() const = 0;
};

// A 3D illustration, which may carry a thumbnail picture.
class Illustration3dSource : public ViewableSource {
public:
    // The thumbnail's file source, or the null Symbol when there is none.
    virtual du::Symbol GetThumbnailSource() const = 0;
};

// The component behind an instance, with its viewables.
class ComponentNode : public virtual du::RefCounted {
public:
    virtual void GetViewableSources(std::vector<du::SmartPtr<ViewableSource>>& sources) const = 0;

protected:
    ComponentNode() = default;
    ~ComponentNode() override = default;
};

// Where an instance's data comes from; resolves file sources relative to it.
class Anchor : public virtual du::RefCounted {
public:
    // Turns a file source into a URL the loader can fetch. With absolute
    // false a relative source stays relative to the anchor's location.
    virtual bool GetURLForFileSource(const du::Symbol& fileSource, du::Symbol& url,
                                     bool absolute) const = 0;

protected:
    Anchor() = default;
    ~Anchor() override = default;
};

}  // namespace qxk
