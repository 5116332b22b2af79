#pragma once

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "remote/TreeObserver.h"

namespace webapi {

// The compact documents of the tree: one root object with one array of
// entries under the document's key, written by RapidJSON's Writer straight
// into one buffer, with no document in between. The buffer serves every
// document the object makes, so the chunks of one call reuse its room.
//
// Which key a chunk goes under may be known only when it is taken, so the
// array is written behind room kept at the front of the buffer, and the
// head with the key is put into that room when the text is taken.
class TreeDocument {
public:
    TreeDocument();

    // Makes room for count more entries of a usual size, so that a large
    // document does not move as it grows. Room never written to costs
    // address space only.
    void Reserve(std::size_t count);
    // An entry of "treeMapping" or "treeRemove".
    void AddInstance(std::uint64_t id, const char* idPath);
    // An entry of "treeUpdate" or "treeUpdateChanges"; loaded is "true",
    // "false", or null for no such member.
    void AddState(std::uint64_t id, int state, const char* loaded);
    bool Empty() const { return entries == 0; }
    // The text with the entries so far under key, one of the tree's
    // document keys; valid until the next Add or Take. The entries are then
    // gone and the buffer is kept for the next document.
    std::string_view Take(const char* key);

private:
    using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

    // Keeps the room for the head and opens the array.
    void Open();
    // Room for a value of length bytes, behind its separator.
    char* PutValue(std::size_t length, rapidjson::Type type);
    void PutQuoted(const char* value, std::size_t length);
    void Id(std::uint64_t id);

    rapidjson::StringBuffer text;
    Writer writer;
    std::size_t entries = 0;
    bool open = false;  // the array of the next document is begun
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
    // Sends the document once its batch is full. Kept apart from Add on
    // purpose: a caller traces each entry between the two, and that trace
    // must come before the document that carries the entry.
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
