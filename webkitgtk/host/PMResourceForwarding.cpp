#include "PMResourceForwarding.h"

#include "Messages/PMWebKitBridgeMessages.h"

#include <webkit/webkit.h>

#include <memory>

namespace {

struct Forwarding {
    PMResourceMessageSender send;
    uint64_t nextIdentifier = 1;
};

struct ResourceLoad {
    std::shared_ptr<Forwarding> forwarding;
    uint64_t identifier;
};

void connectEnd(WebKitWebResource* resource, const char* signal, GCallback callback, const std::shared_ptr<Forwarding>& forwarding, uint64_t identifier)
{
    g_signal_connect_data(resource, signal, callback, new ResourceLoad {forwarding, identifier},
        [](gpointer load, GClosure*) { delete static_cast<ResourceLoad*>(load); }, G_CONNECT_DEFAULT);
}

void resourceLoadStarted(WebKitWebView*, WebKitWebResource* resource, WebKitURIRequest*, gpointer data)
{
    const auto& forwarding = *static_cast<std::shared_ptr<Forwarding>*>(data);
    uint64_t identifier = forwarding->nextIdentifier++;
    forwarding->send(PMBridgeMessageResourceStarted, identifier);
    connectEnd(resource, "finished", G_CALLBACK(+[](WebKitWebResource*, gpointer load) {
        auto* resourceLoad = static_cast<ResourceLoad*>(load);
        resourceLoad->forwarding->send(PMBridgeMessageResourceFinished, resourceLoad->identifier);
    }), forwarding, identifier);
    connectEnd(resource, "failed", G_CALLBACK(+[](WebKitWebResource*, GError*, gpointer load) {
        auto* resourceLoad = static_cast<ResourceLoad*>(load);
        resourceLoad->forwarding->send(PMBridgeMessageResourceFailed, resourceLoad->identifier);
    }), forwarding, identifier);
}

} // namespace

void PMForwardResourceLoads(WebKitWebView* view, PMResourceMessageSender send)
{
    auto forwarding = std::make_shared<Forwarding>(Forwarding {std::move(send)});
    g_signal_connect_data(view, "resource-load-started", G_CALLBACK(resourceLoadStarted), new std::shared_ptr<Forwarding>(forwarding),
        [](gpointer data, GClosure*) { delete static_cast<std::shared_ptr<Forwarding>*>(data); }, G_CONNECT_DEFAULT);
}
