#include "publisher/TreeDocuments.h"

#include <rapidjson/writer.h>

#include <charconv>
#include <cstring>

namespace webapi {

TreeDocument::TreeDocument() { document.SetObject(); }

std::size_t TreeDocument::Keep(const char* text, std::size_t length) {
    const std::size_t at = values.size();
    values.append(text, length);
    return at;
}

// Ids are written as a default-formatted stream writes an unsigned number:
// plain decimal digits.
void TreeDocument::AddInstance(std::uint64_t id, const char* idPath) {
    char digits[24];
    const auto idEnd = std::to_chars(digits, digits + sizeof digits, id).ptr;
    const std::size_t idLength = static_cast<std::size_t>(idEnd - digits);
    const std::size_t idAt = Keep(digits, idLength);
    const std::size_t pathLength = std::strlen(idPath);
    entries.push_back({idAt, idLength, "idpath", Keep(idPath, pathLength), pathLength, nullptr});
}

void TreeDocument::AddState(std::uint64_t id, int state, const char* loaded) {
    char digits[24];
    const auto idEnd = std::to_chars(digits, digits + sizeof digits, id).ptr;
    const std::size_t idLength = static_cast<std::size_t>(idEnd - digits);
    const std::size_t idAt = Keep(digits, idLength);
    const auto stateEnd = std::to_chars(digits, digits + sizeof digits, state).ptr;
    const std::size_t stateLength = static_cast<std::size_t>(stateEnd - digits);
    entries.push_back({idAt, idLength, "state", Keep(digits, stateLength), stateLength, loaded});
}

bool TreeDocument::Build(rapidjson::Document& builder, const char* key) const {
    const auto length = [](const char* literal) { return static_cast<rapidjson::SizeType>(std::strlen(literal)); };
    const auto copy = [&](std::size_t at, std::size_t count) {
        builder.String(values.data() + at, static_cast<rapidjson::SizeType>(count), true);
    };
    builder.StartObject();
    builder.Key(key, length(key), true);
    builder.StartArray();
    for (const Entry& entry : entries) {
        builder.StartObject();
        builder.Key("id", 2, false);
        copy(entry.idAt, entry.idLength);
        builder.Key(entry.secondKey, length(entry.secondKey), false);
        copy(entry.secondAt, entry.secondLength);
        if (entry.loaded) {
            builder.Key("loaded", 6, false);
            builder.String(entry.loaded, length(entry.loaded), true);
        }
        builder.EndObject(entry.loaded ? 3 : 2);
    }
    builder.EndArray(static_cast<rapidjson::SizeType>(entries.size()));
    builder.EndObject(1);
    return true;
}

std::size_t TreeDocument::PlainLength(const char* key) const {
    // {"key":[ ... ]} with {"id":"..","second":".."} entries, comma-separated.
    std::size_t length = std::strlen(key) + 7 + values.size();
    for (const Entry& entry : entries) {
        length += std::strlen(entry.secondKey) + 16;
        if (entry.loaded) length += std::strlen(entry.loaded) + 12;
    }
    return entries.empty() ? length : length - 1;  // no comma behind the last
}

std::string_view TreeDocument::Take(const char* key) {
    auto build = [&](rapidjson::Document& builder) { return Build(builder, key); };
    document.Populate(build);
    text.Clear();
    // A large document then needs no copies of its text as it grows.
    text.Reserve(PlainLength(key));
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    document.Accept(writer);
    document.SetObject();
    entries.clear();
    values.clear();
    return std::string_view(text.GetString(), text.GetSize());
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
