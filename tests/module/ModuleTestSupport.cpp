#include "ModuleTestSupport.h"

#include <utility>
#include <variant>

#include "devhost/platform/RawMessages.h"
#include "dom/MessageWriter.h"

namespace mtest {

CaptureServer::CaptureServer(std::vector<std::string> claimed, std::vector<devhost::MessageValue> answer)
    : interfaces(std::move(claimed)), reply(std::move(answer)) {}

short CaptureServer::BaseClassOffsetByName(const du::Symbol& name) const {
    for (const std::string& claimed : interfaces) {
        if (name == claimed.c_str()) return 0;
    }
    return -1;
}

void CaptureServer::HandleMessage(const dom::MessagePtr& message) {
    {
        std::lock_guard<std::mutex> hold(mutex);
        received.push_back(
            {message->GetMethodTable(), message->GetTag(), message->NeedsReply(), devhost::GetMessageValues(message)});
    }
    dom::MessageWriter writer;
    writer.StartMessageReply(message);
    for (const devhost::MessageValue& value : reply) {
        if (const du::Symbol* text = std::get_if<du::Symbol>(&value)) writer.PushStringValue(*text);
        if (const std::uint32_t* number = std::get_if<std::uint32_t>(&value)) writer.PushUInt32Value(*number);
    }
    writer.FinaliseMessage();
}

std::vector<CaptureServer::Received> CaptureServer::Messages() const {
    std::lock_guard<std::mutex> hold(mutex);
    return received;
}

namespace {

struct Word {
    std::string operator()(const du::Symbol& text) const { return "S:" + (text.IsNull() ? "<null>" : text.str()); }
    std::string operator()(double number) const { return "D:" + std::to_string(number); }
    std::string operator()(std::int32_t number) const { return "I:" + std::to_string(number); }
    std::string operator()(std::uint32_t number) const { return "U:" + std::to_string(number); }
    std::string operator()(bool flag) const { return flag ? "B:true" : "B:false"; }
    std::string operator()(const devhost::HandleValue& handle) const {
        return "H:" + std::string(handle.object == 0 ? "0" : "object") + "/" + std::to_string(handle.table);
    }
};

}  // namespace

std::string Describe(const std::vector<devhost::MessageValue>& values) {
    std::string text;
    for (const devhost::MessageValue& value : values) text += (text.empty() ? "" : " ") + std::visit(Word(), value);
    return text;
}

std::vector<devhost::TraceEntry> TraceEntriesOf(const std::string& module) {
    std::vector<devhost::TraceEntry> found;
    for (devhost::TraceEntry& entry : devhost::TraceLog::Entries()) {
        if (entry.module == module) found.push_back(std::move(entry));
    }
    return found;
}

}  // namespace mtest
