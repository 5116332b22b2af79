#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "devhost/platform/MessageValue.h"
#include "devhost/platform/TraceLog.h"
#include "dom/ManagedObject.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace mtest {

// A far object that records each message it gets and answers every request
// with the same values. It claims the interfaces it is given, so that
// handles to it make typed proxies.
class CaptureServer : public dom::ManagedObject {
public:
    struct Received {
        short table;
        short tag;
        bool needsReply;
        std::vector<devhost::MessageValue> values;
    };

    CaptureServer(std::vector<std::string> interfaces, std::vector<devhost::MessageValue> reply);

    short BaseClassOffsetByName(const du::Symbol& name) const override;
    void HandleMessage(const dom::MessagePtr& message) override;

    // What arrived so far; a request sent after one-way messages shows them all.
    std::vector<Received> Messages() const;

private:
    const std::vector<std::string> interfaces;
    const std::vector<devhost::MessageValue> reply;
    mutable std::mutex mutex;
    std::vector<Received> received;
};

// Values as text, one word each: S:text (S:<null> for the null Symbol),
// D:, I:, U:, B:, and H:object/table for a handle (H:0/0 when null).
std::string Describe(const std::vector<devhost::MessageValue>& values);

// The entries written under a tracer's module name, oldest first.
std::vector<devhost::TraceEntry> TraceEntriesOf(const std::string& module);

}  // namespace mtest
