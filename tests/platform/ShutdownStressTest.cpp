#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "CounterInterface.h"
#include "TestActor.h"
#include "devhost/platform/ActorTasks.h"
#include "dom/Exceptions.h"

namespace {

// Answers Add with the amount, which the clients make unique, and records
// every amount it served. Echo("end") throws out of the handler.
struct Tally : ptest::CounterServer {
    int Add(int id) override {
        ids.push_back(id);  // actor thread only; read after the loop has ended
        return id;
    }
    du::Symbol Echo(const du::Symbol& text) override {
        if (text == "end") throw std::runtime_error("the actor ends here");
        return text;
    }
    std::vector<int> ids;
};

enum class Ending { Immediate, WhenIdle, HandlerException, QueueReleased };

// What one client saw of its requests.
struct ClientLog {
    std::vector<int> replied;
    int shutdown = 0;     // requests failed with dom::ActorShutdownException
    int wrongReply = 0;   // replies that were not the client's own
    std::vector<std::string> otherFailures;
    int tasksAccepted = 0;
};

class ShutdownStress : public ::testing::TestWithParam<Ending> {
protected:
    static constexpr int kClients = 6;
    static constexpr int kRequests = 120;

    static du::SmartPtr<ptest::Counter> FindTally() {
        du::SmartPtr<dom::ManagedObject> found;
        EXPECT_TRUE(dom::ManagedObject::FindActor("ShutdownStress.Tally", ptest::kCounterName, found));
        return du::DynamicCast<ptest::Counter>(found);
    }

    // Sends the first half of its requests, racing the end of the actor,
    // and the second half once the actor has been told to end.
    void Client(int client, const du::SmartPtr<ptest::Counter>& counter, ClientLog& log) {
        for (int i = 0; i < kRequests; ++i) {
            if (i == kRequests / 2)
                while (!endCalled.load()) std::this_thread::yield();
            const int id = client * kRequests + i + 1;
            try {
                if (i % 10 == 0) counter->Note("one way");
                if (i % 10 == 5 && devhost::PostTask(server, [this] { ++tasksRun; })) ++log.tasksAccepted;
                const int reply = counter->Add(id);
                if (reply == id)
                    log.replied.push_back(id);
                else
                    ++log.wrongReply;
            } catch (const dom::ActorShutdownException&) {
                ++log.shutdown;
            } catch (const std::exception& e) {
                log.otherFailures.push_back(e.what());
            } catch (...) {
                log.otherFailures.push_back("not a std::exception");
            }
        }
    }

    void End(Ending ending, ptest::TestActor& actor) {
        switch (ending) {
        case Ending::Immediate:
            actor.queue->ShutdownQueue(dom::MessageQueue::SM_Immediate);
            break;
        case Ending::WhenIdle:
            actor.queue->ShutdownQueue(dom::MessageQueue::SM_WhenIdle);
            break;
        case Ending::HandlerException:
            EXPECT_THROW(FindTally()->Echo("end"), dom::ActorShutdownException);
            break;
        case Ending::QueueReleased:
            // The last holder of the queue lets go while the loop serves it.
            actor.queue = nullptr;
            break;
        }
    }

    ptest::CounterFactoryRegistration registration;
    du::SmartPtr<Tally> server{new Tally};
    std::atomic<int> tasksRun{0};
    std::atomic<bool> endCalled{false};
};

}  // namespace

// Many clients deliver to one actor while it ends: every request gets
// exactly one reply or one dom::ActorShutdownException, nobody hangs, and
// nothing is served twice.
TEST_P(ShutdownStress, EveryRequestEndsOnceAsAReplyOrAShutdown) {
    std::vector<ClientLog> logs(kClients);
    {
        ptest::RunningActor actor(server, "ShutdownStress.Tally");
        std::vector<std::thread> clients;
        for (int c = 0; c < kClients; ++c)
            clients.emplace_back([this, c, &logs, counter = FindTally()] { Client(c, counter, logs[c]); });
        // End the actor in the middle of the traffic.
        while (server->served.load() < kClients * kRequests / 4) std::this_thread::yield();
        End(GetParam(), actor);
        endCalled = true;
        for (auto& client : clients) client.join();
        actor.Join();
    }

    std::vector<int> replied;
    int shutdown = 0, tasksAccepted = 0;
    for (const ClientLog& log : logs) {
        EXPECT_EQ(log.wrongReply, 0);
        EXPECT_EQ(log.otherFailures, std::vector<std::string>());
        replied.insert(replied.end(), log.replied.begin(), log.replied.end());
        shutdown += log.shutdown;
        tasksAccepted += log.tasksAccepted;
    }
    EXPECT_EQ(static_cast<int>(replied.size()) + shutdown, kClients * kRequests);
    EXPECT_GT(shutdown, 0);
    std::vector<int> served = server->ids;
    std::sort(served.begin(), served.end());
    EXPECT_EQ(std::adjacent_find(served.begin(), served.end()), served.end()) << "a request was served twice";
    std::sort(replied.begin(), replied.end());
    EXPECT_EQ(served, replied) << "every request served was answered, and only those";
    EXPECT_LE(tasksRun.load(), tasksAccepted);
    EXPECT_FALSE(server->IsManaged());
}

INSTANTIATE_TEST_SUITE_P(Endings, ShutdownStress,
                         ::testing::Values(Ending::Immediate, Ending::WhenIdle, Ending::HandlerException,
                                           Ending::QueueReleased),
                         [](const ::testing::TestParamInfo<Ending>& info) {
                             switch (info.param) {
                             case Ending::Immediate:
                                 return "Immediate";
                             case Ending::WhenIdle:
                                 return "WhenIdle";
                             case Ending::HandlerException:
                                 return "HandlerException";
                             case Ending::QueueReleased:
                                 return "QueueReleased";
                             }
                             return "Unknown";
                         });
