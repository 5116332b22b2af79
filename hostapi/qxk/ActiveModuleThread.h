#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "dom/Exceptions.h"
#include "dom/MessageQueue.h"
#include "dp/QXTracer.h"
#include "dp/ReadWriteLock.h"
#include "dp/Thread.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxk {

// Hosts a module's actor: a thread that owns a queue of type Q and runs the
// message loop of one managed object of type T. T offers MatchesComponent,
// GetActorName, AttachQueue and OnActorStopped besides dom::ManagedObject.
//
// Any exception that reaches the loop ends the actor for good; the object
// then stays, serving nothing, until it is destroyed. The object lock guards
// the queue's shutdown and the calls forwarded from the loader's thread.
template <class T, class Q>
class ActiveModuleThread : public dp::Thread, public dp::ObjectLevelReadWriteLockable<ActiveModuleThread<T, Q>*> {
public:
    static constexpr unsigned int kStackSize = 0x80000;

    ActiveModuleThread(const char* moduleName, const char* threadName)
        : dp::Thread(threadName, kStackSize), tracer(moduleName, threadName), loopReady(false) {
        module = new T();
    }

    ~ActiveModuleThread() override {
        this->WriteLock();
        if (queue) queue->ShutdownQueue(dom::MessageQueue::SM_Immediate);
        this->WriteUnlock();
        // Unlocked: the thread takes the lock for its own last step.
        WaitForThreadToTerminate();
        queue = nullptr;
        module = nullptr;
    }

    bool MatchesComponent(const std::string& first, const std::string& second, const std::string& third) {
        this->ReadLock();
        const bool matches = module->MatchesComponent(first, second, third);
        this->ReadUnlock();
        return matches;
    }

    du::Symbol GetActorName() {
        this->ReadLock();
        du::Symbol name = module->GetActorName();
        this->ReadUnlock();
        return name;
    }

protected:
    void ThreadStartup() override {
        try {
            queue = new Q();
            module->AttachQueue(du::SmartPtr<dom::MessageQueue>(queue.get()));
            loopReady = true;
        } catch (dom::ActorShutdownException& e) {
            TraceShutdown(e);
        } catch (std::exception& e) {
            TraceStandard(e);
        } catch (...) {
            TraceUnexpected();
        }
    }

    void ThreadMain() override {
        if (loopReady) {
            try {
                module->RunMessageLoop();
            } catch (dom::ActorShutdownException& e) {
                TraceShutdown(e);
            } catch (dom::ConnectionLostException& e) {
                TraceNamed(" got a ConnectionLostException:-\n\t", e);
            } catch (dom::MessageProtocolException& e) {
                TraceNamed(" got a MessageProtocolException:-\n\t", e);
            } catch (dom::InvalidActorException& e) {
                TraceNamed(" got a InvalidActorException:-\n\t", e);
            } catch (std::exception& e) {
                TraceStandard(e);
            } catch (...) {
                TraceUnexpected();
            }
        }
        try {
            module->OnActorStopped();
        } catch (std::exception& e) {
            TraceStandard(e);
        } catch (...) {
            TraceUnexpected();
        }
        tracer("Actor %s shutting down queue 0x%08x\n", module->GetActorName().safe_c_str(),
               static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(queue.get())));
        this->WriteLock();
        if (queue) queue = nullptr;
        this->WriteUnlock();
    }

private:
    // A shutdown is an orderly end: no actor name, and not an error.
    void TraceShutdown(const dom::ActorShutdownException& e) {
        tracer(dp::TT_Info) << "Got a ActorShutdownException:-\n\t" << e.what() << "\n";
    }

    void TraceNamed(const char* words, const std::exception& e) {
        dp::TraceFormatter entry = tracer(dp::TT_Error);
        entry << "Actor ";
        module->GetActorName().Print(entry.Stream());
        entry << words << e.what() << "\n";
    }

    void TraceStandard(const std::exception& e) { TraceNamed(" got a standard exception:- ", e); }

    void TraceUnexpected() {
        dp::TraceFormatter entry = tracer(dp::TT_Error);
        entry << "Actor ";
        module->GetActorName().Print(entry.Stream());
        entry << " got an unexpected exception.\n";
    }

    dp::QXTracer tracer;
    du::SmartPtr<T> module;
    du::SmartPtr<Q> queue;
    bool loopReady;
};

}  // namespace qxk
