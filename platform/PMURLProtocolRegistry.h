#pragma once
// The URL-loading system's custom protocols. A handler claims requests and
// makes one protocol object per load; an engine adapter (a custom URI scheme
// handler, say) asks the registry for each request and drives the load.
#include "PMURLProtocolClient.h"
#include "PMURLRequest.h"

#include <memory>
#include <mutex>
#include <vector>

// One load of one request. Whoever starts it keeps it until the load has
// ended, or calls stopLoading when the load is cancelled.
class PMCustomURLProtocol {
public:
    PMCustomURLProtocol(PMURLRequest request, std::shared_ptr<PMURLProtocolClient> client)
        : m_request(std::move(request)), m_client(std::move(client)) {}
    virtual ~PMCustomURLProtocol() = default;

    const PMURLRequest& request() const { return m_request; }
    PMURLProtocolClient* client() const { return m_client.get(); }

    virtual void startLoading() = 0;
    virtual void stopLoading() = 0;

private:
    PMURLRequest m_request;
    std::shared_ptr<PMURLProtocolClient> m_client;
};

// The class-level side of a custom protocol.
class PMURLProtocolHandler {
public:
    virtual ~PMURLProtocolHandler() = default;
    virtual bool canInitWithRequest(const PMURLRequest& request) const = 0;
    virtual PMURLRequest canonicalRequestForRequest(const PMURLRequest& request) const { return request; }
    virtual std::unique_ptr<PMCustomURLProtocol> protocolWithRequest(PMURLRequest request, std::shared_ptr<PMURLProtocolClient> client) const = 0;
};

// Thread-safe: handlers may be registered while loads run on other threads.
class PMURLProtocolRegistry {
public:
    static PMURLProtocolRegistry& shared();

    void registerHandler(std::shared_ptr<const PMURLProtocolHandler> handler);
    void unregisterHandler(const PMURLProtocolHandler* handler);
    bool isRegistered(const PMURLProtocolHandler* handler) const;

    // The most recently registered handler that claims the request, or null.
    std::shared_ptr<const PMURLProtocolHandler> handlerForRequest(const PMURLRequest& request) const;

    // Claims, canonicalises and starts the load of a request. Null when no
    // handler claims it; the engine then loads it by its own means.
    std::unique_ptr<PMCustomURLProtocol> startLoading(const PMURLRequest& request, std::shared_ptr<PMURLProtocolClient> client) const;

private:
    mutable std::mutex m_lock;
    std::vector<std::shared_ptr<const PMURLProtocolHandler>> m_handlers;
};
