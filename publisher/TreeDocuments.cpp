#include "publisher/TreeDocuments.h"

#include <cassert>
#include <charconv>
#include <cstring>

namespace webapi {

namespace {

// A document's head, `{"` key `":`, is laid out by hand in front of the
// array the writer made, exactly as the writer would have put it: the keys
// are the module's own literals and need no escaping.
constexpr std::size_t HeadLength(std::size_t keyLength) { return keyLength + 4; }

// The longest key there is, so that any head fits the room kept for it.
constexpr char kLongestKey[] = "treeUpdateChanges";
constexpr std::size_t kHeadRoom = HeadLength(sizeof kLongestKey - 1);

void WriteHead(char* at, const char* key, std::size_t keyLength) {
    *at++ = '{';
    *at++ = '"';
    std::memcpy(at, key, keyLength);
    at += keyLength;
    *at++ = '"';
    *at = ':';
}

}  // namespace

TreeDocument::TreeDocument() : writer(text) {}

void TreeDocument::Open() {
    text.Clear();
    text.Push(kHeadRoom);
    writer.Reset(text);
    writer.StartArray();
    open = true;
}

// Ids are written as a default-formatted stream writes an unsigned number:
// plain decimal digits.
void TreeDocument::Id(std::uint64_t id) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, id).ptr;
    writer.Key("id", 2);
    writer.String(digits, static_cast<rapidjson::SizeType>(end - digits));
}

void TreeDocument::AddInstance(std::uint64_t id, const char* idPath) {
    if (!open) Open();
    writer.StartObject();
    Id(id);
    writer.Key("idpath", 6);
    writer.String(idPath, static_cast<rapidjson::SizeType>(std::strlen(idPath)));
    writer.EndObject();
    ++entries;
}

void TreeDocument::AddState(std::uint64_t id, int state, const char* loaded) {
    if (!open) Open();
    writer.StartObject();
    Id(id);
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, state).ptr;
    writer.Key("state", 5);
    writer.String(digits, static_cast<rapidjson::SizeType>(end - digits));
    if (loaded) {
        writer.Key("loaded", 6);
        writer.String(loaded, static_cast<rapidjson::SizeType>(std::strlen(loaded)));
    }
    writer.EndObject();
    ++entries;
}

std::string_view TreeDocument::Take(const char* key) {
    if (!open) Open();
    writer.EndArray();
    text.Put('}');
    const std::size_t keyLength = std::strlen(key);
    assert(HeadLength(keyLength) <= kHeadRoom);
    const std::size_t start = kHeadRoom - HeadLength(keyLength);
    // The buffer is this object's own, writable memory.
    char* buffer = const_cast<char*>(text.GetString());
    WriteHead(buffer + start, key, keyLength);
    open = false;
    entries = 0;
    return std::string_view(buffer + start, text.GetSize() - start);
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
