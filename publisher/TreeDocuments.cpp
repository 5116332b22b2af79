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

// Ids are written as a default-formatted stream writes an unsigned number:
// plain decimal digits.
char* WriteDigits(char* at, std::uint64_t number) { return std::to_chars(at, at + 20, number).ptr; }

char* WriteLiteral(char* at, const char* literal) {
    const std::size_t length = std::strlen(literal);
    std::memcpy(at, literal, length);
    return at + length;
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

void TreeDocument::Reserve(std::size_t count) {
    // An id of up to 20 digits and an idpath of a few names.
    constexpr std::size_t kUsualEntry = 64;
    text.Reserve(kHeadRoom + count * kUsualEntry + 2);
}

// The writer places the separator in front of a value and counts it; the
// value's text, which needs no escaping, is then copied in behind it whole.
char* TreeDocument::PutValue(std::size_t length, rapidjson::Type type) {
    writer.RawValue("", 0, type);
    return text.Push(length);
}

void TreeDocument::PutQuoted(const char* value, std::size_t length) {
    char* at = PutValue(length + 2, rapidjson::kStringType);
    at[0] = '"';
    std::memcpy(at + 1, value, length);
    at[length + 1] = '"';
}

// Ids are digits, which need no escaping.
void TreeDocument::Id(std::uint64_t id) {
    char digits[20];
    writer.Key("id", 2);
    PutQuoted(digits, static_cast<std::size_t>(WriteDigits(digits, id) - digits));
}

// Most idpaths hold nothing the writer escapes (control characters, the
// quote and the backslash); those go in whole, the others through the
// writer's escaping.
void TreeDocument::AddInstance(std::uint64_t id, const char* idPath) {
    if (!open) Open();
    writer.StartObject();
    Id(id);
    writer.Key("idpath", 6);
    bool plain = true;
    std::size_t length = 0;
    for (unsigned char c; (c = static_cast<unsigned char>(idPath[length])) != 0; ++length)
        if (c < 0x20 || c == '"' || c == '\\') plain = false;
    if (plain)
        PutQuoted(idPath, length);
    else
        writer.String(idPath, static_cast<rapidjson::SizeType>(length));
    writer.EndObject();
    ++entries;
}

// A state entry holds digits and the module's literals only, none of which
// the writer would escape, so it is laid out whole and put in as one value.
void TreeDocument::AddState(std::uint64_t id, int state, const char* loaded) {
    if (!open) Open();
    char entry[96];
    char* at = WriteLiteral(entry, "{\"id\":\"");
    at = WriteDigits(at, id);
    at = WriteLiteral(at, "\",\"state\":\"");
    at = std::to_chars(at, at + 11, state).ptr;
    *at++ = '"';
    if (loaded) {
        at = WriteLiteral(at, ",\"loaded\":\"");
        at = WriteLiteral(at, loaded);  // "true" or "false"
        *at++ = '"';
    }
    *at++ = '}';
    const auto length = static_cast<std::size_t>(at - entry);
    std::memcpy(PutValue(length, rapidjson::kObjectType), entry, length);
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
