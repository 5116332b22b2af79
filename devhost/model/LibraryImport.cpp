#include "devhost/model/LibraryImport.h"

#include <mutex>
#include <vector>

#include <assimp/DefaultLogger.hpp>
#include <assimp/LogStream.hpp>
#include <assimp/postprocess.h>
#include <sys/resource.h>
#include <unistd.h>

#include "devhost/model/ModelFileError.h"

namespace devhost::model {

namespace {

// What the library reports while it goes on with less than the file holds;
// a world built from what is left would not be the file's.
const char* const kDroppedData[] = {
    "out-of-range indices",      // glTF faces dropped
    "Invalid face index",        // OBJ
    "failed to locate material",  // a material named but not defined
    "Ignoring empty face",
};

// Keeps the library's warnings and errors of one import.
class Reports : public Assimp::LogStream {
public:
    void write(const char* message) override { texts.emplace_back(message); }
    std::vector<std::string> texts;
};

// The library's logger is one for the process.
std::mutex& ImportMutex() {
    static std::mutex mutex;
    return mutex;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

// Some readers trust counts in a file's header and reserve what they say
// (billions of vertices in a file of a few hundred bytes); the room of the
// address space is capped while the library reads, so that such a file
// fails an allocation at once instead of paging the machine to a halt.
// Sanitizer builds map terabytes of shadow memory and read uncapped.
class AddressSpaceCap {
public:
    static constexpr rlim_t kRoom = rlim_t{4} << 30;

    AddressSpaceCap() {
        if (kSanitized || getrlimit(RLIMIT_AS, &before_) != 0) return;
        rlimit capped = before_;
        capped.rlim_cur = MappedNow() + kRoom;
        if (before_.rlim_cur != RLIM_INFINITY && before_.rlim_cur < capped.rlim_cur) return;
        active_ = setrlimit(RLIMIT_AS, &capped) == 0;
    }
    ~AddressSpaceCap() {
        if (active_) setrlimit(RLIMIT_AS, &before_);
    }

private:
    static rlim_t MappedNow() {
        long pages = 0;
        if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
            if (std::fscanf(statm, "%ld", &pages) != 1) pages = 0;
            std::fclose(statm);
        }
        return static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
    }

    rlimit before_{};
    bool active_ = false;
};

}  // namespace

bool ReadsCapped() { return !kSanitized; }

LibraryImport::LibraryImport(const std::string& path) {
    std::lock_guard<std::mutex> lock(ImportMutex());
    Assimp::DefaultLogger::create("", Assimp::Logger::NORMAL, 0);
    auto* reports = new Reports();  // the logger owns it
    Assimp::DefaultLogger::get()->attachStream(reports, Assimp::Logger::Warn | Assimp::Logger::Err);
    std::string error;
    {
        AddressSpaceCap cap;
        scene_ = importer_.ReadFile(path, aiProcess_Triangulate | aiProcess_SortByPType);
        if (!scene_) error = importer_.GetErrorString();
    }
    std::string dropped;
    for (const std::string& text : reports->texts)
        for (const char* report : kDroppedData)
            if (dropped.empty() && text.find(report) != std::string::npos) dropped = text;
    Assimp::DefaultLogger::kill();
    if (!scene_ && error.find("bad_alloc") != std::string::npos)
        error = "reading it would take more memory than a model can need (" + error + ")";
    if (!scene_) throw ModelFileError(path + ": " + (error.empty() ? "the library read no scene" : error));
    if (!dropped.empty()) {
        // A report reads "Warn,  T0: what"; the reason is what.
        while (!dropped.empty() && (dropped.back() == '\n' || dropped.back() == ' ')) dropped.pop_back();
        const std::size_t colon = dropped.find(": ");
        throw ModelFileError(path + ": " + (colon == std::string::npos ? dropped : dropped.substr(colon + 2)));
    }
    if ((scene_->mFlags & AI_SCENE_FLAGS_INCOMPLETE) || !scene_->mRootNode)
        throw ModelFileError(path + ": the library read an incomplete scene");
}

LibraryImport::~LibraryImport() = default;

}  // namespace devhost::model
