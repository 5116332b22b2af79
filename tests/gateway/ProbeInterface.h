#pragma once

// "gtest::Probe", an interface that no plug-in of the product has, served by
// a test actor: the gateway must serve it from its signature table alone.
// Its methods, by message id:
//   0 "Echo__IS"                     replies with the string it got
//   1 "Mix__Id__Il__Iul__Ib"         replies with nothing
//   2 "List__IQS__Ib"                replies with nothing
//   3 "Fill__OS"                     replies with "filled" for its out value
//   4 "Count"                        replies with the unsigned 7
//   5 "Call__IRgtest::Listener__Il"  calls Heard(text, i) for i = 1..n on the
//                                    listener, then Done, one-way
// "gtest::Listener" is the callback interface: 0 "Heard__IS__Il", 1 "Done".

#include <mutex>
#include <thread>
#include <vector>

#include "devhost/platform/MessageValue.h"
#include "dom/ManagedObject.h"
#include "dom/MessageQueue.h"

namespace gtest_gateway {

extern const char* const kProbeName;
extern const char* const kListenerName;
extern const char* const kProbeActor;

// Registers both interfaces' factories for the life of the object.
class ProbeFactories {
public:
    ProbeFactories();
    ~ProbeFactories();

private:
    struct Factories;
    Factories* factories_;
};

// The probe, on an actor thread of its own published as kProbeActor.
class ProbeActor {
public:
    ProbeActor();
    ~ProbeActor();

    struct Received {
        short tag;
        std::vector<devhost::MessageValue> values;
    };
    std::vector<Received> Messages() const;

private:
    class Server;
    du::SmartPtr<dom::MessageQueue> queue_;
    du::SmartPtr<Server> server_;
    std::thread thread_;
};

}  // namespace gtest_gateway
