#include "PMGLibServices.h"

#include "Utilities/KCLogger.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>

void PMGLibMainQueue::dispatchAfter(uint64_t delayNanoseconds, std::function<void()> block)
{
    auto* heapBlock = new std::function<void()>(std::move(block));
    g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(delayNanoseconds / 1000000), [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
    }, heapBlock, [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
}

PMGLibRunLoop::~PMGLibRunLoop()
{
    while (!m_pending.empty())
        cancelPreviousPerformRequests(m_pending.begin()->first);
}

int PMGLibRunLoop::fire(void* data)
{
    auto* perform = static_cast<Perform*>(data);
    auto& list = perform->runLoop->m_pending[perform->target];
    list.remove(perform);
    if (list.empty())
        perform->runLoop->m_pending.erase(perform->target);
    auto block = std::move(perform->block);
    delete perform;
    block();
    return G_SOURCE_REMOVE;
}

void PMGLibRunLoop::performAfterDelay(const void* target, std::function<void()> block, double delaySeconds)
{
    auto* perform = new Perform {this, target, std::move(block)};
    double milliseconds = std::isfinite(delaySeconds) ? std::clamp(delaySeconds * 1000.0, 0.0, 86400000.0) : 0.0;
    perform->sourceID = milliseconds == 0 ? g_idle_add(fire, perform) : g_timeout_add(static_cast<guint>(milliseconds), fire, perform);
    m_pending[target].push_back(perform);
}

void PMGLibRunLoop::cancelPreviousPerformRequests(const void* target)
{
    auto found = m_pending.find(target);
    if (found == m_pending.end())
        return;
    for (Perform* perform : found->second) {
        g_source_remove(perform->sourceID);
        delete perform;
    }
    m_pending.erase(found);
}

void PMGLibProcess::exitProcess(int status)
{
    _exit(status);
}

bool PMBubblewrapSandbox::consumeSandboxExtension(std::span<const uint8_t> token)
{
    KCLog("Sandbox extension of %lu bytes not consumed: paths are granted when the process starts", static_cast<unsigned long>(token.size()));
    return false;
}
