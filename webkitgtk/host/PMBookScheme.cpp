#include "PMBookScheme.h"

#include "Messages/PMWebKitBridgeMessages.h"
#include "resources/PMURLProtocol.h"
#include "Utilities/KCLogger.h"
#include "platform/PMURLProtocolRegistry.h"

#include <webkit/webkit.h>

namespace {

// Gathers what the protocol answers; it answers before startLoading returns.
class CollectingClient final : public PMURLProtocolClient {
public:
    void didReceiveResponse(const PMURLResponse& response, PMURLCacheStoragePolicy) override { this->response = response; }
    void didLoadData(std::shared_ptr<const KCData> data) override { this->data = std::move(data); }
    void didFinishLoading() override { finished = true; }
    void didFailWithError(const KCError& error) override { this->error = error; }

    std::optional<PMURLResponse> response;
    std::shared_ptr<const KCData> data;
    bool finished = false;
    std::optional<KCError> error;
};

// Hands the protocol's messages to the reader on the next turn of the main loop.
class NextTurnConnection final : public PMMessageConnection {
public:
    explicit NextTurnConnection(PMBookSchemeMessageHandler deliver) : m_deliver(std::move(deliver)) {}
    void sendMessageWithName(std::string_view name, const KCValue& body) override
    {
        struct Pending {
            PMBookSchemeMessageHandler deliver;
            std::string name;
            KCValue body;
        };
        g_idle_add_full(G_PRIORITY_DEFAULT, [](gpointer data) -> gboolean {
            auto* pending = static_cast<Pending*>(data);
            pending->deliver(pending->name, pending->body);
            return G_SOURCE_REMOVE;
        }, new Pending {m_deliver, std::string(name), body}, [](gpointer data) { delete static_cast<Pending*>(data); });
    }
    void setDelegate(PMMessageConnectionDelegate*) override {}
    void close() override {}

private:
    PMBookSchemeMessageHandler m_deliver;
};

void finishWithError(WebKitURISchemeRequest* request, const std::string& message)
{
    GError* error = g_error_new_literal(G_IO_ERROR, G_IO_ERROR_NOT_FOUND, message.c_str());
    webkit_uri_scheme_request_finish_error(request, error);
    g_error_free(error);
}

void serveBookFile(WebKitURISchemeRequest* request, gpointer)
{
    const char* uri = webkit_uri_scheme_request_get_uri(request);
    auto fileURI = PMFileURIForBookURI(uri ? uri : "");
    auto client = std::make_shared<CollectingClient>();
    auto load = fileURI ? PMURLProtocolRegistry::shared().startLoading(PMURLRequest(KCURL::URLWithString(*fileURI)), client) : nullptr;
    if (!load || !client->response || !client->finished) {
        KCLog("Book file not served: %s", uri ? uri : "");
        finishWithError(request, client->error ? client->error->message : std::string("not a book file"));
        return;
    }
    // The stream keeps the shared bytes alive; no copy.
    auto* keeper = new std::shared_ptr<const KCData>(client->data);
    const KCData* bytes = keeper->get();
    size_t length = bytes ? bytes->size() : 0;
    GBytes* body = g_bytes_new_with_free_func(length ? bytes->data() : nullptr, length,
        [](gpointer data) { delete static_cast<std::shared_ptr<const KCData>*>(data); }, keeper);
    GInputStream* stream = g_memory_input_stream_new_from_bytes(body);
    g_bytes_unref(body);
    WebKitURISchemeResponse* response = webkit_uri_scheme_response_new(stream, static_cast<gint64>(length));
    if (client->response->MIMEType)
        webkit_uri_scheme_response_set_content_type(response, client->response->MIMEType->c_str());
    // Fonts are fetched in CORS mode from a page whose origin is file:.
    SoupMessageHeaders* headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE);
    soup_message_headers_append(headers, "Access-Control-Allow-Origin", "*");
    webkit_uri_scheme_response_set_http_headers(response, headers);
    webkit_uri_scheme_request_finish_with_response(request, response);
    g_object_unref(response);
    g_object_unref(stream);
}

} // namespace

std::optional<std::string> PMFileURIForBookURI(const std::string& bookURI)
{
    std::string prefix = std::string(PMBookURIScheme) + ":";
    if (bookURI.rfind(prefix, 0) != 0)
        return std::nullopt;
    return "file:" + bookURI.substr(prefix.size());
}

void PMRegisterBookScheme(WebKitWebContext* context, const PMBookConfiguration& book, PMBookSchemeMessageHandler deliver)
{
    PMURLProtocol::registerPMURLProtocol();
    PMURLProtocol::setConnection(std::make_shared<NextTurnConnection>(std::move(deliver)));
    PMURLProtocol::setBookContentsPath(book.contentsPath);
    PMURLProtocol::setBookResourceData(book.resourceData);
    PMURLProtocol::setPaginationMode(book.paginationMode);
    webkit_web_context_register_uri_scheme(context, PMBookURIScheme, serveBookFile, nullptr, nullptr);
    webkit_security_manager_register_uri_scheme_as_cors_enabled(webkit_web_context_get_security_manager(context), PMBookURIScheme);
}
