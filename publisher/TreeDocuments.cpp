#include "publisher/TreeDocuments.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace webapi {

TreeDocument::TreeDocument() : entries(rapidjson::kArrayType) { document.SetObject(); }

std::string TreeDocument::IdText(std::uint64_t id) {
    idStream.str(std::string());
    idStream << id;
    return idStream.str();
}

void TreeDocument::AddInstance(std::uint64_t id, const char* idPath) {
    auto& allocator = document.GetAllocator();
    rapidjson::Value entry(rapidjson::kObjectType);
    entry.AddMember("id", rapidjson::Value(IdText(id).c_str(), allocator), allocator);
    entry.AddMember("idpath", rapidjson::Value(idPath, allocator), allocator);
    entries.PushBack(entry, allocator);
}

void TreeDocument::AddState(std::uint64_t id, int state, const char* loaded) {
    auto& allocator = document.GetAllocator();
    rapidjson::Value entry(rapidjson::kObjectType);
    entry.AddMember("id", rapidjson::Value(IdText(id).c_str(), allocator), allocator);
    entry.AddMember("state", rapidjson::Value(std::to_string(state).c_str(), allocator), allocator);
    if (loaded) entry.AddMember("loaded", rapidjson::Value(loaded, allocator), allocator);
    entries.PushBack(entry, allocator);
}

std::string TreeDocument::Take(const char* key) {
    auto& allocator = document.GetAllocator();
    document.AddMember(rapidjson::Value(key, allocator), entries, allocator);
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    document.SetObject();
    entries.SetArray();
    return std::string(buffer.GetString(), buffer.GetSize());
}

std::string ClearTreeDocument() {
    std::ostringstream text;
    text << "{\n" << "\n\"clearTree\":\"true\"" << "}\n";
    return text.str();
}

HandBuiltStateChanges::HandBuiltStateChanges(TreeObserver& observer, unsigned int batchSize, std::size_t total)
    : observer(observer), batchSize(batchSize), total(total) {}

void HandBuiltStateChanges::Add(std::uint64_t id, int state) {
    if (!open) {
        text.str(std::string());
        text << "{\n" << "\n\"treeUpdateChanges\":\n[\n";
        open = true;
    }
    ++written;
    text << "{" << "\"id\": \"" << id << "\"," << "\"state\": \"" << state << "\"" << "}";
    if (written < total && written % batchSize != 0) text << ",\n";
}

void HandBuiltStateChanges::SendIfFull() {
    if (open && written % batchSize == 0) Close();
}

void HandBuiltStateChanges::Finish() {
    if (open) Close();
}

void HandBuiltStateChanges::Close() {
    text << "\n]\n" << "\n}\n";
    const std::string document = text.str();
    observer.OnTreeUpdate(du::Symbol(document));
    text.str(std::string());
    open = false;
}

}  // namespace webapi
