#pragma once

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>

#include "remote/TreeObserver.h"

namespace webapi {

// The compact documents of the tree, written by RapidJSON: one root object
// with one array of entries under the document's key, built as a document
// on one allocator and then written out.
//
// Entries are gathered as plain text first and the document is built from
// them in one pass when it is taken: the document then gets each object
// and the array at their exact sizes, where members added one by one take
// room for sixteen per object.
class TreeDocument {
public:
    TreeDocument();

    // Makes room for count more entries.
    void Reserve(std::size_t count) { entries.reserve(entries.size() + count); }
    // An entry of "treeMapping" or "treeRemove".
    void AddInstance(std::uint64_t id, const char* idPath);
    // An entry of "treeUpdate" or "treeUpdateChanges"; loaded is "true",
    // "false", or null for no such member.
    void AddState(std::uint64_t id, int state, const char* loaded);
    bool Empty() const { return entries.empty(); }
    // The text with the entries so far under key, valid until the next
    // Take; the entries are then gone, and the allocator is kept for the
    // next chunk.
    std::string_view Take(const char* key);

private:
    // Where an entry's texts stand in values.
    struct Entry {
        std::size_t idAt, idLength;
        const char* secondKey;  // "idpath" or "state"
        std::size_t secondAt, secondLength;
        const char* loaded;  // null: no "loaded" member
    };

    // Appends the text to values and gives where it starts.
    std::size_t Keep(const char* text, std::size_t length);
    // Emits the whole document under key to the document's builder.
    bool Build(rapidjson::Document& builder, const char* key) const;
    // The length of the text under key when no character needs escaping.
    std::size_t PlainLength(const char* key) const;

    rapidjson::Document document;
    std::vector<Entry> entries;
    std::string values;  // the texts of all entries, back to back
    rapidjson::StringBuffer text;
};

// The hand-built "clearTree" document.
std::string ClearTreeDocument();

// The hand-built "treeUpdateChanges" documents: entries written one by one,
// batchSize to a document, each document sent with OnTreeUpdate as soon as
// it is full.
class HandBuiltStateChanges {
public:
    HandBuiltStateChanges(TreeObserver& observer, unsigned int batchSize, std::size_t total);
    void Add(std::uint64_t id, int state);
    // Sends the document once its batch is full. Apart from Add, so that
    // what the caller does for an entry comes before the document goes.
    void SendIfFull();
    // Sends what is left, if anything.
    void Finish();

private:
    void Close();

    TreeObserver& observer;
    const unsigned int batchSize;
    const std::size_t total;
    std::size_t written = 0;
    bool open = false;  // a document has entries not yet sent
    std::ostringstream text;
};

}  // namespace webapi
