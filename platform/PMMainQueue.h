#pragma once
// The main thread's dispatch queue.
#include <cstdint>
#include <functional>

class PMMainQueue {
public:
    virtual ~PMMainQueue() = default;
    // Runs the block on the main thread once the delay has passed.
    virtual void dispatchAfter(uint64_t delayNanoseconds, std::function<void()> block) = 0;
};
