#pragma once

namespace dp {

// A named thread with a fixed stack size. Start runs ThreadStartup and then
// ThreadMain on the new thread, each once; ThreadStartup has ended before
// ThreadMain begins. With waitForStartup true, Start returns only after
// ThreadStartup has ended.
class Thread {
public:
    Thread(const char* name, unsigned int stackSize);
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    // Joins a thread that was started and is still joinable.
    virtual ~Thread();

    // False when the thread could not be made, or was started before.
    bool Start(bool waitForStartup);
    // Blocks until ThreadMain has returned; returns at once if never started.
    void WaitForThreadToTerminate();

    const char* GetName() const;
    unsigned int GetStackSize() const;

protected:
    virtual void ThreadStartup();
    virtual void ThreadMain() = 0;

private:
    struct Impl;
    Impl* impl_;
};

}  // namespace dp
