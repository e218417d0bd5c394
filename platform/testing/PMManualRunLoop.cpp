#include "PMManualRunLoop.h"

#include <algorithm>
#include <cmath>

void PMManualRunLoop::schedule(uint64_t delayNanoseconds, const void* target, std::function<void()> block)
{
    m_pending.push_back({m_now + delayNanoseconds, m_sequence++, target, std::move(block)});
}

void PMManualRunLoop::dispatchAfter(uint64_t delayNanoseconds, std::function<void()> block)
{
    schedule(delayNanoseconds, nullptr, std::move(block));
}

void PMManualRunLoop::performAfterDelay(const void* target, std::function<void()> block, double delaySeconds)
{
    uint64_t delay = delaySeconds > 0 ? static_cast<uint64_t>(std::llround(delaySeconds * 1e9)) : 0;
    schedule(delay, target, std::move(block));
}

void PMManualRunLoop::cancelPreviousPerformRequests(const void* target)
{
    std::erase_if(m_pending, [target](const Pending& pending) { return target && pending.target == target; });
}

uint64_t PMManualRunLoop::nextDueNanoseconds() const
{
    auto earliest = std::min_element(m_pending.begin(), m_pending.end(), [](const Pending& a, const Pending& b) { return a.due < b.due; });
    return earliest == m_pending.end() ? 0 : earliest->due;
}

void PMManualRunLoop::advanceBy(double seconds)
{
    uint64_t until = m_now + (seconds > 0 ? static_cast<uint64_t>(std::llround(seconds * 1e9)) : 0);
    for (;;) {
        auto next = std::min_element(m_pending.begin(), m_pending.end(), [](const Pending& a, const Pending& b) {
            return a.due != b.due ? a.due < b.due : a.sequence < b.sequence;
        });
        if (next == m_pending.end() || next->due > until)
            break;
        m_now = std::max(m_now, next->due);
        std::function<void()> block = std::move(next->block);
        m_pending.erase(next);
        block();
    }
    m_now = until;
}
