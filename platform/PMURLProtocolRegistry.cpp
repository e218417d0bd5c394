#include "PMURLProtocolRegistry.h"

#include <algorithm>

PMURLProtocolRegistry& PMURLProtocolRegistry::shared()
{
    static PMURLProtocolRegistry registry;
    return registry;
}

void PMURLProtocolRegistry::registerHandler(std::shared_ptr<const PMURLProtocolHandler> handler)
{
    if (!handler)
        return;
    std::lock_guard lock(m_lock);
    m_handlers.push_back(std::move(handler));
}

void PMURLProtocolRegistry::unregisterHandler(const PMURLProtocolHandler* handler)
{
    std::lock_guard lock(m_lock);
    std::erase_if(m_handlers, [handler](const auto& registered) { return registered.get() == handler; });
}

bool PMURLProtocolRegistry::isRegistered(const PMURLProtocolHandler* handler) const
{
    std::lock_guard lock(m_lock);
    return std::any_of(m_handlers.begin(), m_handlers.end(), [handler](const auto& registered) { return registered.get() == handler; });
}

std::shared_ptr<const PMURLProtocolHandler> PMURLProtocolRegistry::handlerForRequest(const PMURLRequest& request) const
{
    std::vector<std::shared_ptr<const PMURLProtocolHandler>> handlers;
    {
        // Ask outside the lock: a handler may look at the file system.
        std::lock_guard lock(m_lock);
        handlers = m_handlers;
    }
    for (auto it = handlers.rbegin(); it != handlers.rend(); ++it) {
        if ((*it)->canInitWithRequest(request))
            return *it;
    }
    return nullptr;
}

std::unique_ptr<PMCustomURLProtocol> PMURLProtocolRegistry::startLoading(const PMURLRequest& request, std::shared_ptr<PMURLProtocolClient> client) const
{
    auto handler = handlerForRequest(request);
    if (!handler)
        return nullptr;
    auto protocol = handler->protocolWithRequest(handler->canonicalRequestForRequest(request), std::move(client));
    if (protocol)
        protocol->startLoading();
    return protocol;
}
