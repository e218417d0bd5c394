#pragma once
// The main queue and run loop on a clock that only tests move. Nothing runs
// until the test advances time; then every block that falls due runs in due
// order (ties in the order they were scheduled), including blocks scheduled
// meanwhile that fall due within the advance.
#include "platform/PMMainQueue.h"
#include "platform/PMRunLoop.h"

#include <cstdint>
#include <functional>
#include <vector>

class PMManualRunLoop final : public PMMainQueue, public PMRunLoop {
public:
    void dispatchAfter(uint64_t delayNanoseconds, std::function<void()> block) override;
    void performAfterDelay(const void* target, std::function<void()> block, double delaySeconds) override;
    void cancelPreviousPerformRequests(const void* target) override;

    void advanceBy(double seconds);
    // One turn at the current time: runs what is due now, 0-delay performs included.
    void runCurrentTurn() { advanceBy(0); }

    uint64_t nowNanoseconds() const { return m_now; }
    size_t pendingCount() const { return m_pending.size(); }
    // When the earliest pending block falls due; 0 when nothing is pending.
    uint64_t nextDueNanoseconds() const;

private:
    struct Pending {
        uint64_t due;
        uint64_t sequence;
        const void* target;  // nullptr for main-queue blocks, which cannot be cancelled
        std::function<void()> block;
    };
    void schedule(uint64_t delayNanoseconds, const void* target, std::function<void()> block);

    std::vector<Pending> m_pending;
    uint64_t m_now = 0;
    uint64_t m_sequence = 0;
};
