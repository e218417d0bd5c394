#include "PMResourceForwarding.h"

#include "Messages/PMWebKitBridgeMessages.h"

#include <webkit/webkit.h>

#include <memory>

namespace {

struct Forwarding {
    PMResourceMessageSender send;
    uint64_t nextIdentifier = 1;
};

// Shared by the two end signals of one load: the engine emits "failed" and
// then "finished" for a failed load, and the extension must hear one end.
struct ResourceLoad {
    std::shared_ptr<Forwarding> forwarding;
    uint64_t identifier;
    bool ended = false;

    void end(const char* name)
    {
        if (ended)
            return;
        ended = true;
        forwarding->send(name, identifier);
    }
};

void connectEnd(WebKitWebResource* resource, const char* signal, GCallback callback, const std::shared_ptr<ResourceLoad>& load)
{
    g_signal_connect_data(resource, signal, callback, new std::shared_ptr<ResourceLoad>(load),
        [](gpointer data, GClosure*) { delete static_cast<std::shared_ptr<ResourceLoad>*>(data); }, G_CONNECT_DEFAULT);
}

ResourceLoad& loadOf(gpointer data)
{
    return **static_cast<std::shared_ptr<ResourceLoad>*>(data);
}

void resourceLoadStarted(WebKitWebView*, WebKitWebResource* resource, WebKitURIRequest*, gpointer data)
{
    const auto& forwarding = *static_cast<std::shared_ptr<Forwarding>*>(data);
    auto load = std::make_shared<ResourceLoad>(ResourceLoad {forwarding, forwarding->nextIdentifier++});
    forwarding->send(PMBridgeMessageResourceStarted, load->identifier);
    connectEnd(resource, "finished", G_CALLBACK(+[](WebKitWebResource*, gpointer data) {
        loadOf(data).end(PMBridgeMessageResourceFinished);
    }), load);
    connectEnd(resource, "failed", G_CALLBACK(+[](WebKitWebResource*, GError*, gpointer data) {
        loadOf(data).end(PMBridgeMessageResourceFailed);
    }), load);
}

} // namespace

void PMForwardResourceLoads(WebKitWebView* view, PMResourceMessageSender send)
{
    auto forwarding = std::make_shared<Forwarding>(Forwarding {std::move(send)});
    g_signal_connect_data(view, "resource-load-started", G_CALLBACK(resourceLoadStarted), new std::shared_ptr<Forwarding>(forwarding),
        [](gpointer data, GClosure*) { delete static_cast<std::shared_ptr<Forwarding>*>(data); }, G_CONNECT_DEFAULT);
}
