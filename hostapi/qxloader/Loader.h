#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxloader {

class FileEvent;

// The viewer's loader: fetches files and loads host modules by name.
class Loader : public virtual du::RefCounted {
public:
    // The application's loader, or null when it has none.
    static du::SmartPtr<Loader> GetLoader();

    // Starts fetching url to local disk and returns at once; the event
    // completes later with the local path set, or with an error. source is
    // the file source the URL was made from. False when nothing was started.
    virtual bool GetFileForUrl(const du::Symbol& url, const du::Symbol& source, FileEvent* event,
                               bool useCache, bool reload, const du::Symbol& user,
                               const du::Symbol& password) = 0;

    // Loads the host module known by the three names (library, component,
    // variant) and gives its object. False when there is no such module.
    virtual bool LoadModule(const du::Symbol& library, const du::Symbol& component, const du::Symbol& variant,
                            du::SmartPtr<du::RefCounted>& module) = 0;

protected:
    Loader() = default;
    ~Loader() override = default;
};

}  // namespace qxloader
