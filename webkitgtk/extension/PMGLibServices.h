#pragma once
// The process services of the plug-in on the web process's GLib main loop.
#include "platform/PMMainQueue.h"
#include "platform/PMProcess.h"
#include "platform/PMRunLoop.h"
#include "platform/PMSandbox.h"

#include <list>
#include <map>

class PMGLibMainQueue final : public PMMainQueue {
public:
    void dispatchAfter(uint64_t delayNanoseconds, std::function<void()> block) override;
};

class PMGLibRunLoop final : public PMRunLoop {
public:
    ~PMGLibRunLoop() override;
    void performAfterDelay(const void* target, std::function<void()> block, double delaySeconds) override;
    void cancelPreviousPerformRequests(const void* target) override;

private:
    struct Perform {
        PMGLibRunLoop* runLoop;
        const void* target;
        std::function<void()> block;
        unsigned sourceID = 0;
    };
    static int fire(void* perform);
    std::map<const void*, std::list<Perform*>> m_pending;
};

class PMGLibProcess final : public PMProcess {
public:
    void exitProcess(int status) override;
};

// Paths reach the sandbox when the UI side starts the process (it adds the
// book and the extension to the bubblewrap sandbox); tokens cannot widen it
// afterwards, so each one is refused and logged.
class PMBubblewrapSandbox final : public PMSandbox {
public:
    bool consumeSandboxExtension(std::span<const uint8_t> token) override;
};
