#pragma once
// The main thread's run loop: delayed performs that can be cancelled.
#include <functional>

class PMRunLoop {
public:
    virtual ~PMRunLoop() = default;
    // Runs the block on a later turn of the loop, no sooner than the delay;
    // a delay of 0 means the next turn. The target names the request for cancellation.
    virtual void performAfterDelay(const void* target, std::function<void()> block, double delaySeconds) = 0;
    // Drops every pending perform made for the target.
    virtual void cancelPreviousPerformRequests(const void* target) = 0;
};
