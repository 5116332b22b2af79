#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <tuple>
#include <vector>

#include "devhost/platform/PendingEvent.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxloader/FileEvent.h"
#include "qxloader/Loader.h"

namespace devhost {

// What happens to a fetch of one file source.
enum class FetchMode {
    Deliver,  // completes with the file's local path
    Fail,     // completes with an error; the path is left as it was
    Never,    // never completes
    Held      // waits until a test releases it
};

struct FetchRule {
    FetchMode mode = FetchMode::Deliver;
    // When set, the fetch waits until the fetch of this source has completed,
    // so that files can arrive in another order than asked for.
    du::Symbol after;
};

// One fetch as the loader saw it.
struct FetchRecord {
    std::size_t number = 0;  // in the order started
    du::Symbol url;
    du::Symbol source;
    du::Symbol localPath;  // empty for a URL outside the world's folder
    FetchMode mode = FetchMode::Deliver;
    // The rest of the call's arguments, as given.
    bool useCache = false;
    bool reload = false;
    du::Symbol user;
    du::Symbol password;
    bool completed = false;
    int status = -1;  // completion status once completed
};

// The loader of one world: files come from the world's folder, modules
// from the set the world has.
class Loader final : public qxloader::Loader {
public:
    // Files are fetched from folder and from nowhere else.
    explicit Loader(std::string folder) : folder_(std::move(folder)) {}

    bool GetFileForUrl(const du::Symbol& url, const du::Symbol& source, qxloader::FileEvent* event,
                       bool useCache, bool reload, const du::Symbol& user, const du::Symbol& password) override;
    bool LoadModule(const du::Symbol& library, const du::Symbol& component, const du::Symbol& variant,
                    du::SmartPtr<du::RefCounted>& module) override;

    // What fetches of a file source do; a fetch keeps the rule it started with.
    void SetFetchRule(const du::Symbol& source, const FetchRule& rule);
    // Modules this loader can load, by their three names.
    void AddModule(const du::Symbol& library, const du::Symbol& component, const du::Symbol& variant,
                   const du::SmartPtr<du::RefCounted>& module);

    // Inspection and control.
    std::vector<FetchRecord> Fetches() const;
    std::vector<std::tuple<du::Symbol, du::Symbol, du::Symbol, bool>> ModuleLoads() const;
    // Releases a held fetch by its number; false for a number that is not a
    // held fetch still waiting to be released.
    bool ReleaseFetch(std::size_t number, bool succeed = true);

private:
    struct Waiting {
        PendingEvent<qxloader::FileEvent> event;
        bool succeed = true;
        bool released = false;  // a held fetch is released once
    };
    // Puts the completion of a fetch on the host's worker thread.
    void Schedule(std::size_t number);
    void Finish(std::size_t number, bool succeed);
    bool SourceCompleted(const du::Symbol& source) const;

    const std::string folder_;
    mutable std::mutex mutex_;
    std::map<du::Symbol, FetchRule> rules_;
    std::map<std::tuple<du::Symbol, du::Symbol, du::Symbol>, du::SmartPtr<du::RefCounted>> modules_;
    std::vector<FetchRecord> fetches_;
    std::map<std::size_t, Waiting> pending_;
    std::vector<std::tuple<du::Symbol, du::Symbol, du::Symbol, bool>> moduleLoads_;
};

}  // namespace devhost
