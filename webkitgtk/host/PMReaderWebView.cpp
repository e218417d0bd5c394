#include "PMReaderWebView.h"

#include "Messages/PMGVariantValue.h"
#include "Messages/PMWebKitBridgeMessages.h"
#include "plugin/PMNavigationRule.h"
#include "PMSnapshotImage.h"
#include "Utilities/KCLogger.h"

#include <webkit/webkit.h>

#include <cstdlib>

namespace {

// Hands "PluginError" from the book scheme to the reader on the next turn,
// as if it had come over the web process's connection.
class LocalConnection final : public PMMessageConnection {
public:
    explicit LocalConnection(std::function<void(const std::string&, const KCValue&)> deliver) : m_deliver(std::move(deliver)) {}
    void sendMessageWithName(std::string_view name, const KCValue& body) override
    {
        struct Pending {
            std::function<void(const std::string&, const KCValue&)> deliver;
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
    std::function<void(const std::string&, const KCValue&)> m_deliver;
};

struct ResourceLoad {
    PMReaderWebView* view;
    uint64_t identifier;
};

void sendResourceMessage(PMReaderWebView* view, const char* name, uint64_t identifier)
{
    view->sendMessage(name, KCValue(KCDictionary {{"identifier", identifier}}));
}

void snapshotTaken(GObject* source, GAsyncResult* result, gpointer data)
{
    auto* message = static_cast<WebKitUserMessage*>(data);
    GError* error = nullptr;
    GdkTexture* texture = webkit_web_view_get_snapshot_finish(WEBKIT_WEB_VIEW(source), result, &error);
    KCValue request = PMKCValueFromGVariant(webkit_user_message_get_parameters(message));
    KCRect rect {{request["x"].doubleValue().value_or(0), request["y"].doubleValue().value_or(0)},
        {request["width"].doubleValue().value_or(0), request["height"].doubleValue().value_or(0)}};
    std::optional<KCImage> image;
    if (texture) {
        image = PMImageFromTexture(texture, rect, request["scale"].doubleValue().value_or(0));
        g_object_unref(texture);
    } else {
        KCLog("The engine made no snapshot: %s", error ? error->message : "");
        g_clear_error(&error);
    }
    KCValue body = PMSnapshotReplyBody(image);
    webkit_user_message_send_reply(message, webkit_user_message_new(PMBridgeMessageSnapshot, body.isNull() ? nullptr : PMGVariantFromKCValue(body)));
    g_object_unref(message);
}

} // namespace

std::string PMWebExtensionDirectory()
{
    if (const char* directory = std::getenv("PAGEMOOR_EXTENSION_DIR"); directory && *directory)
        return directory;
    return PM_WEB_EXTENSION_DIR;
}

std::unique_ptr<PMReaderWebView> PMReaderWebView::create(const PMReaderConfiguration& configuration, KCError* error)
{
    std::unique_ptr<PMReaderWebView> view(new PMReaderWebView);
    if (!view->start(configuration, error))
        return nullptr;
    return view;
}

bool PMReaderWebView::start(const PMReaderConfiguration& configuration, KCError* error)
{
    m_configuration = configuration;
    if (!gtk_init_check()) {
        KCSetError(error, {"PMReaderErrorDomain", 1, "cannot open a display (run under xvfb-run)"});
        return false;
    }
    if (!g_file_test((configuration.extensionDirectory + "/libpagemoor-web-extension.so").c_str(), G_FILE_TEST_EXISTS)) {
        KCSetError(error, {"PMReaderErrorDomain", 2, "the web process extension is not in " + configuration.extensionDirectory + " (set PAGEMOOR_EXTENSION_DIR)"});
        return false;
    }
    m_context = webkit_web_context_new();
    // The web process only sees what is added to its sandbox before it starts.
    webkit_web_context_add_path_to_sandbox(m_context, configuration.extensionDirectory.c_str(), TRUE);
    webkit_web_context_add_path_to_sandbox(m_context, configuration.book.contentsPath.c_str(), TRUE);
    g_signal_connect(m_context, "initialize-web-process-extensions", G_CALLBACK(initializeWebProcessExtensions), this);
    PMRegisterBookScheme(m_context, configuration.book, std::make_shared<LocalConnection>([this](const std::string& name, const KCValue& body) {
        receive(name, body);
    }));

    m_webView = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", m_context, nullptr));
    g_signal_connect(m_webView, "user-message-received", G_CALLBACK(userMessageReceived), this);
    g_signal_connect(m_webView, "decide-policy", G_CALLBACK(decidePolicy), this);
    g_signal_connect(m_webView, "resource-load-started", G_CALLBACK(resourceLoadStarted), this);
    g_signal_connect(m_webView, "load-changed", G_CALLBACK(loadChanged), this);
    g_signal_connect(m_webView, "load-failed", G_CALLBACK(loadFailed), this);
    g_signal_connect(m_webView, "web-process-terminated", G_CALLBACK(webProcessTerminatedSignal), this);

    // Pages draw (and frame callbacks run) only in a presented window.
    m_window = gtk_window_new();
    g_object_ref_sink(m_window);
    gtk_window_set_default_size(GTK_WINDOW(m_window), static_cast<int>(configuration.viewSize.width), static_cast<int>(configuration.viewSize.height));
    gtk_window_set_child(GTK_WINDOW(m_window), GTK_WIDGET(m_webView));
    gtk_window_present(GTK_WINDOW(m_window));

    m_documentURI = "about:blank";
    webkit_web_view_load_uri(m_webView, "about:blank");
    if (!runUntil([this] { return m_pageReady && m_loadFinished; }, configuration.startTimeoutSeconds)) {
        KCSetError(error, {"PMReaderErrorDomain", 3, m_pageReady ? m_failure.value_or("the first page did not load")
                                                                   : "the web process extension did not start (" + m_failure.value_or("no answer") + ")"});
        return false;
    }
    return true;
}

PMReaderWebView::~PMReaderWebView()
{
    if (m_webView)
        g_signal_handlers_disconnect_by_data(m_webView, this);
    if (m_window) {
        gtk_window_destroy(GTK_WINDOW(m_window));
        g_object_unref(m_window);
    }
    if (m_context) {
        g_signal_handlers_disconnect_by_data(m_context, this);
        g_object_unref(m_context);
    }
    // Let the engine finish tearing down before the loop stops turning.
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
}

void PMReaderWebView::initializeWebProcessExtensions(WebKitWebContext* context, gpointer data)
{
    auto* self = static_cast<PMReaderWebView*>(data);
    const PMReaderConfiguration& configuration = self->m_configuration;
    webkit_web_context_set_web_process_extensions_directory(context, configuration.extensionDirectory.c_str());
    PMPlugInInitialization initialization {{}, configuration.book.contentsPath, configuration.book.resourceData,
        configuration.book.paginationMode, configuration.bookInfo};
    webkit_web_context_set_web_process_extensions_initialization_user_data(context, PMGVariantFromKCValue(KCValue(PMEncodeInitialization(initialization))));
}

void PMReaderWebView::sendMessage(const std::string& name, const KCValue& body)
{
    GVariant* parameters = body.isNull() ? nullptr : PMGVariantFromKCValue(body);
    webkit_web_view_send_message_to_page(m_webView, webkit_user_message_new(name.c_str(), parameters), nullptr, nullptr, nullptr);
}

void PMReaderWebView::loadDocument(const std::string& fileURI)
{
    m_documentURI = fileURI;
    m_loadFinished = false;
    // Ahead of the load: the extension starts resource tracking and leaves
    // this request a file URL.
    sendMessage(PMBridgeMessageWillLoadDocument, KCValue(KCDictionary {{"URL", KCValue::fromUTF8(fileURI)}}));
    webkit_web_view_load_uri(m_webView, fileURI.c_str());
}

bool PMReaderWebView::runUntil(const std::function<bool()>& done, double timeoutSeconds)
{
    bool timedOut = false;
    guint timeout = g_timeout_add(static_cast<guint>(timeoutSeconds * 1000), [](gpointer flag) -> gboolean {
        *static_cast<bool*>(flag) = true;
        return G_SOURCE_REMOVE;
    }, &timedOut);
    while (!done() && !timedOut && !m_failure)
        g_main_context_iteration(nullptr, TRUE);
    if (!timedOut)
        g_source_remove(timeout);
    else if (!m_failure)
        m_failure = "timed out after " + std::to_string(static_cast<int>(timeoutSeconds)) + " s";
    return done();
}

std::optional<KCValue> PMReaderWebView::runTask(const PMDocumentTask& task, const std::string& fileURI, double timeoutSeconds, KCError* error)
{
    const char* replyName = PMReplyMessageForTask(task.task);
    std::optional<KCValue> reply;
    MessageHandler previous = m_messageHandler;
    m_messageHandler = [&](const std::string& name, const KCValue& body) {
        if (replyName && name == replyName && PMDecodeReplyDocumentIndex(body) == task.documentIndex)
            reply = body;
        if (previous)
            previous(name, body);
    };
    m_failure.reset();
    prepareForDocumentTask(task);
    loadDocument(fileURI);
    bool answered = runUntil([&] { return reply.has_value(); }, timeoutSeconds);
    m_messageHandler = previous;
    if (!answered) {
        KCSetError(error, {"PMReaderErrorDomain", 4, fileURI + ": " + m_failure.value_or("no reply")});
        return std::nullopt;
    }
    return reply;
}

std::optional<std::string> PMReaderWebView::evaluateScript(const std::string& script, double timeoutSeconds)
{
    struct Evaluation {
        bool done = false;
        std::optional<std::string> result;
    };
    auto evaluation = std::make_shared<Evaluation>();
    webkit_web_view_evaluate_javascript(m_webView, script.c_str(), -1, nullptr, nullptr, nullptr, [](GObject* view, GAsyncResult* result, gpointer data) {
        std::unique_ptr<std::shared_ptr<Evaluation>> evaluation(static_cast<std::shared_ptr<Evaluation>*>(data));
        GError* error = nullptr;
        JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, &error);
        if (value) {
            char* text = jsc_value_to_string(value);
            (*evaluation)->result = text ? text : "";
            g_free(text);
            g_object_unref(value);
        } else {
            KCLog("Script in the page failed: %s", error ? error->message : "");
            g_clear_error(&error);
        }
        (*evaluation)->done = true;
    }, new std::shared_ptr<Evaluation>(evaluation));
    runUntil([&] { return evaluation->done; }, timeoutSeconds);
    return evaluation->result;
}

void PMReaderWebView::receive(const std::string& name, const KCValue& body)
{
    if (m_messageHandler)
        m_messageHandler(name, body);
}

gboolean PMReaderWebView::userMessageReceived(WebKitWebView* view, WebKitUserMessage* message, gpointer data)
{
    auto* self = static_cast<PMReaderWebView*>(data);
    const std::string name = webkit_user_message_get_name(message);
    if (name == PMBridgeMessagePageReady) {
        self->m_pageReady = true;
        return TRUE;
    }
    if (name == PMBridgeMessageSnapshot) {
        webkit_web_view_get_snapshot(view, WEBKIT_SNAPSHOT_REGION_FULL_DOCUMENT, WEBKIT_SNAPSHOT_OPTIONS_NONE, nullptr, snapshotTaken, g_object_ref(message));
        return TRUE;
    }
    self->receive(name, PMKCValueFromGVariant(webkit_user_message_get_parameters(message)));
    return TRUE;
}

gboolean PMReaderWebView::decidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, int type, gpointer data)
{
    if (type != WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION)
        return FALSE;
    auto* self = static_cast<PMReaderWebView*>(data);
    WebKitNavigationAction* action = webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    PMNavigationAction navigation {KCURL::URLWithString(uri ? uri : ""), static_cast<int64_t>(webkit_navigation_action_get_navigation_type(action))};
    // What the rule passes through is the reader's to decide: its own
    // document loads, anything else goes to the navigation handler.
    if (PMNavigationPolicyForAction(navigation) == PMNavigationPolicy::Use || self->m_documentURI == (uri ? uri : "")) {
        webkit_policy_decision_use(decision);
    } else {
        if (self->m_navigationHandler)
            self->m_navigationHandler(uri ? uri : "");
        webkit_policy_decision_ignore(decision);
    }
    return TRUE;
}

void PMReaderWebView::resourceLoadStarted(WebKitWebView*, WebKitWebResource* resource, WebKitURIRequest*, gpointer data)
{
    auto* self = static_cast<PMReaderWebView*>(data);
    uint64_t identifier = self->m_nextResourceIdentifier++;
    sendResourceMessage(self, PMBridgeMessageResourceStarted, identifier);
    g_signal_connect_data(resource, "finished", G_CALLBACK(+[](WebKitWebResource*, gpointer load) {
        auto* resourceLoad = static_cast<ResourceLoad*>(load);
        sendResourceMessage(resourceLoad->view, PMBridgeMessageResourceFinished, resourceLoad->identifier);
    }), new ResourceLoad {self, identifier}, [](gpointer load, GClosure*) { delete static_cast<ResourceLoad*>(load); }, G_CONNECT_DEFAULT);
    g_signal_connect_data(resource, "failed", G_CALLBACK(+[](WebKitWebResource*, GError*, gpointer load) {
        auto* resourceLoad = static_cast<ResourceLoad*>(load);
        sendResourceMessage(resourceLoad->view, PMBridgeMessageResourceFailed, resourceLoad->identifier);
    }), new ResourceLoad {self, identifier}, [](gpointer load, GClosure*) { delete static_cast<ResourceLoad*>(load); }, G_CONNECT_DEFAULT);
}

void PMReaderWebView::loadChanged(WebKitWebView*, int event, gpointer data)
{
    if (event == WEBKIT_LOAD_FINISHED)
        static_cast<PMReaderWebView*>(data)->m_loadFinished = true;
}

gboolean PMReaderWebView::loadFailed(WebKitWebView*, int, const char* URI, GError* error, gpointer data)
{
    auto* self = static_cast<PMReaderWebView*>(data);
    if (g_error_matches(error, WEBKIT_POLICY_ERROR, WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE))
        return FALSE;
    // Neither is a load that a newer one replaced.
    if (g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED))
        return FALSE;
    if (URI && self->m_documentURI == URI)
        self->m_failure = std::string("cannot load ") + URI + ": " + (error ? error->message : "unknown error");
    return FALSE;
}

void PMReaderWebView::webProcessTerminatedSignal(WebKitWebView*, int reason, gpointer data)
{
    auto* self = static_cast<PMReaderWebView*>(data);
    self->m_webProcessTerminated = true;
    self->m_failure = reason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT ? "the web process ran out of memory" : "the web process ended unexpectedly";
}
