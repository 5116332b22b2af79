#pragma once

// A tree observer that records each call it is told, documents included, and
// an object for the interface to be managed under.

#include <string>
#include <vector>

#include "dom/ManagedObject.h"
#include "remote/TreeObserver.h"

namespace tree_tests {

class RecordingObserver : public webapi::TreeObserver {
public:
    short GetTableOffset(int) override { return 0; }
    void OnTreeMappingBegin() override { calls.push_back("OnTreeMappingBegin"); }
    void OnTreeMapping(const du::Symbol& document) override { calls.push_back("OnTreeMapping " + document.str()); }
    void OnTreeMappingEnd() override { calls.push_back("OnTreeMappingEnd"); }
    void OnTreeUpdateBegin() override { calls.push_back("OnTreeUpdateBegin"); }
    void OnTreeUpdate(const du::Symbol& document) override { calls.push_back("OnTreeUpdate " + document.str()); }
    void OnTreeUpdateEnd() override { calls.push_back("OnTreeUpdateEnd"); }

    std::vector<std::string> calls;
};

class Anchor : public dom::ManagedObject {};

}  // namespace tree_tests
