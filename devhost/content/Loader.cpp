#include "devhost/content/Loader.h"

#include <sys/stat.h>

#include "devhost/content/Viewables.h"
#include "devhost/platform/Faults.h"
#include "devhost/world/HostWorker.h"

namespace devhost {
namespace {

bool IsRegularFile(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace

bool Loader::GetFileForUrl(const du::Symbol& url, const du::Symbol& source, qxloader::FileEvent* event,
                           bool useCache, bool reload, const du::Symbol& user, const du::Symbol& password) {
    if (HitFault("qxloader::Loader::GetFileForUrl") || !event) return false;
    std::string path;
    // Only file URLs into the world's folder can be had; anything else fails
    // as an unreachable download would.
    const bool reachable = LocalPathOfUrl(url, path) && path.compare(0, folder_.size() + 1, folder_ + "/") == 0 &&
                           IsRegularFile(path);

    std::size_t number;
    bool startNow;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        FetchRule rule;
        auto found = rules_.find(source);
        if (found != rules_.end()) rule = found->second;
        number = fetches_.size();
        FetchRecord record;
        record.number = number;
        record.url = url;
        record.source = source;
        record.localPath = reachable ? du::Symbol(path) : du::Symbol::EMPTY;
        record.mode = rule.mode;
        record.useCache = useCache;
        record.reload = reload;
        record.user = user;
        record.password = password;
        fetches_.push_back(record);
        pending_.emplace(number, Waiting{PendingEvent<qxloader::FileEvent>(event),
                                         reachable && rule.mode != FetchMode::Fail});
        startNow = (rule.mode == FetchMode::Deliver || rule.mode == FetchMode::Fail) &&
                   (rule.after.IsNull() || SourceCompleted(rule.after));
    }
    if (startNow) Schedule(number);
    return true;
}

bool Loader::LoadModule(const du::Symbol& library, const du::Symbol& component, const du::Symbol& variant,
                        du::SmartPtr<du::RefCounted>& module) {
    const bool fault = HitFault("qxloader::Loader::LoadModule");
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = modules_.find(std::make_tuple(library, component, variant));
    const bool loaded = !fault && found != modules_.end();
    moduleLoads_.emplace_back(library, component, variant, loaded);
    module = loaded ? found->second : nullptr;
    return loaded;
}

void Loader::SetFetchRule(const du::Symbol& source, const FetchRule& rule) {
    std::lock_guard<std::mutex> lock(mutex_);
    rules_[source] = rule;
}

void Loader::AddModule(const du::Symbol& library, const du::Symbol& component, const du::Symbol& variant,
                       const du::SmartPtr<du::RefCounted>& module) {
    std::lock_guard<std::mutex> lock(mutex_);
    modules_[std::make_tuple(library, component, variant)] = module;
}

std::vector<FetchRecord> Loader::Fetches() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return fetches_;
}

std::vector<std::tuple<du::Symbol, du::Symbol, du::Symbol, bool>> Loader::ModuleLoads() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return moduleLoads_;
}

bool Loader::ReleaseFetch(std::size_t number, bool succeed) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = pending_.find(number);
        if (found == pending_.end() || fetches_[number].mode != FetchMode::Held || found->second.released)
            return false;
        found->second.released = true;
        found->second.succeed = succeed && !fetches_[number].localPath.empty();
    }
    Schedule(number);
    return true;
}

void Loader::Schedule(std::size_t number) {
    du::SmartPtr<Loader> self(this);
    RunOnHostWorker([self, number] {
        bool succeed;
        {
            std::lock_guard<std::mutex> lock(self->mutex_);
            auto found = self->pending_.find(number);
            if (found == self->pending_.end()) return;
            succeed = found->second.succeed;
        }
        self->Finish(number, succeed);
    });
}

void Loader::Finish(std::size_t number, bool succeed) {
    du::SmartPtr<qxloader::FileEvent> event;
    std::vector<std::size_t> released;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = pending_.find(number);
        if (found == pending_.end()) return;
        event = found->second.event.Get();
        pending_.erase(found);
        FetchRecord& record = fetches_[number];
        record.completed = true;
        record.status = succeed ? 0 : 1;
        if (succeed && event) event->SetLocalPath(record.localPath);
        // Fetches that were to arrive after this one may go now.
        for (const auto& waiting : pending_) {
            const FetchRecord& other = fetches_[waiting.first];
            auto rule = rules_.find(other.source);
            if (rule != rules_.end() && rule->second.after == record.source &&
                (other.mode == FetchMode::Deliver || other.mode == FetchMode::Fail))
                released.push_back(waiting.first);
        }
    }
    if (!event) {
        // Its actor has ended: nobody is left to hear of the file.
    } else if (succeed) {
        event->Complete();
    } else {
        event->CompleteWithError(1);
    }
    for (std::size_t next : released) Schedule(next);
}

bool Loader::SourceCompleted(const du::Symbol& source) const {
    for (const auto& record : fetches_)
        if (record.source == source && record.completed) return true;
    return false;
}

}  // namespace devhost
