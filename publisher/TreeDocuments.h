#pragma once

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include <rapidjson/document.h>

#include "remote/TreeObserver.h"

namespace webapi {

// The compact documents of the tree, written by RapidJSON: one root object
// with one array of entries under the document's key.
class TreeDocument {
public:
    TreeDocument();

    // An entry of "treeMapping" or "treeRemove".
    void AddInstance(std::uint64_t id, const char* idPath);
    // An entry of "treeUpdate" or "treeUpdateChanges"; loaded is "true",
    // "false", or null for no such member.
    void AddState(std::uint64_t id, int state, const char* loaded);
    bool Empty() const { return entries.Empty(); }
    // The text with the entries so far under key; the entries are then
    // gone, and the allocator is kept for the next chunk.
    std::string Take(const char* key);

private:
    // Decimal digits of an id, as a default-formatted stream writes them.
    std::string IdText(std::uint64_t id);

    rapidjson::Document document;
    rapidjson::Value entries;
    // One stream for all ids of the document, emptied for each: making a
    // stream costs far more than writing a number into it.
    std::ostringstream idStream;
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
