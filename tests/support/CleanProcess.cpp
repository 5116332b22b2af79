#include "CleanProcess.h"

#include <gtest/gtest.h>

#include "devhost/platform/Faults.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/Application.h"
#include "devhost/world/ProgressDisplays.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldFile.h"

namespace support {

CleanProcess::CleanProcess() {
    devhost::DropWorld();
    devhost::DropApplication();
    devhost::ClearProgressDisplays();
    devhost::TraceLog::Clear();
}

CleanProcess::~CleanProcess() {
    devhost::DisarmAllFaults();
    devhost::Settle({});
    devhost::DropApplication();
    devhost::DropWorld();
    devhost::ClearProgressDisplays();
}

du::SmartPtr<devhost::WorldModel> LoadWorld(const std::string& text) {
    try {
        return text.empty() ? devhost::LoadDefaultSampleWorld() : devhost::LoadWorldText(text);
    } catch (const devhost::WorldFileError& e) {
        ADD_FAILURE() << e.what();
        return nullptr;
    }
}

std::vector<std::string> Traces(const std::string& module, const std::string& name) {
    std::vector<std::string> found;
    for (const devhost::TraceEntry& entry : devhost::TraceLog::Entries()) {
        if (entry.module == module && entry.name == name && entry.text.find("shutting down queue") == std::string::npos)
            found.push_back(std::to_string(entry.type) + "|" + entry.text);
    }
    return found;
}

}  // namespace support
