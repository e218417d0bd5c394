#include "PMReaderWebView.h"

#include "Messages/PMGVariantValue.h"
#include "Messages/PMWebKitBridgeMessages.h"
#include "PMLinkPolicy.h"
#include "PMPageCleanup.h"
#include "PMResourceForwarding.h"
#include "PMSnapshotService.h"
#include "Utilities/KCLogger.h"

#include <webkit/webkit.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

// A source that only wakes the loop at its ready time.
GSourceFuncs kAlarmFunctions = {nullptr, nullptr, [](GSource* source, GSourceFunc callback, gpointer data) -> gboolean {
    g_source_set_ready_time(source, -1);
    return callback(data);
}, nullptr, nullptr, nullptr};

} // namespace

std::string PMWebExtensionDirectory()
{
    if (const char* directory = std::getenv("PAGEMOOR_EXTENSION_DIR"); directory && *directory)
        return directory;
    return PM_WEB_EXTENSION_DIR;
}

std::unique_ptr<PMReaderWebView> PMReaderWebView::create(const PMReaderConfiguration& configuration, KCError* error)
{
    auto view = begin(configuration, error);
    if (!view || !view->waitUntilStarted(error))
        return nullptr;
    return view;
}

std::unique_ptr<PMReaderWebView> PMReaderWebView::begin(const PMReaderConfiguration& configuration, KCError* error)
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
        KCSetError(error, {PMReaderErrorDomain, 1, "cannot open a display (run under xvfb-run)"});
        return false;
    }
    if (!g_file_test((configuration.extensionDirectory + "/libpagemoor-web-extension.so").c_str(), G_FILE_TEST_EXISTS)) {
        KCSetError(error, {PMReaderErrorDomain, 2, "the web process extension is not in " + configuration.extensionDirectory + " (set PAGEMOOR_EXTENSION_DIR)"});
        return false;
    }
    m_context = webkit_web_context_new();
    // The web process only sees what is added to its sandbox before it starts.
    webkit_web_context_add_path_to_sandbox(m_context, configuration.extensionDirectory.c_str(), TRUE);
    webkit_web_context_add_path_to_sandbox(m_context, configuration.book.contentsPath.c_str(), TRUE);
    g_signal_connect(m_context, "initialize-web-process-extensions", G_CALLBACK(initializeWebProcessExtensions), this);
    PMRegisterBookScheme(m_context, configuration.book, [this, alive = m_alive](const std::string& name, const KCValue& body) {
        if (*alive)
            receive(name, body);
    });

    m_webView = WEBKIT_WEB_VIEW(g_object_ref_sink(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", m_context, nullptr)));
    g_signal_connect(m_webView, "user-message-received", G_CALLBACK(userMessageReceived), this);
    PMInstallPageCleanup(m_webView, configuration.book.paginationMode);
    PMInstallLinkPolicy(m_webView, {[this, alive = m_alive] { return *alive ? m_documentURI : std::string(); },
                                       [this, alive = m_alive](const std::string& uri) {
                                           if (*alive && m_navigationHandler)
                                               m_navigationHandler(uri);
                                       }});
    PMForwardResourceLoads(m_webView, [this, alive = m_alive](const char* name, uint64_t identifier) {
        if (*alive)
            sendMessage(name, KCValue(KCDictionary {{"identifier", identifier}}));
    });
    g_signal_connect(m_webView, "load-changed", G_CALLBACK(loadChanged), this);
    g_signal_connect(m_webView, "load-failed", G_CALLBACK(loadFailed), this);
    g_signal_connect(m_webView, "web-process-terminated", G_CALLBACK(webProcessTerminatedSignal), this);

    // The web process starts with the first load: before anything of a window is made.
    m_documentURI = "about:blank";
    m_loadAnnounced = true;
    webkit_web_view_load_uri(m_webView, "about:blank");
    placeView();
    return true;
}

void PMReaderWebView::placeView()
{
    if (m_configuration.placement == PMReaderConfiguration::Placement::Hosted)
        return;
    m_window = gtk_window_new();
    g_object_ref_sink(m_window);
    const int width = static_cast<int>(m_configuration.viewSize.width);
    const int height = static_cast<int>(m_configuration.viewSize.height);
    gtk_window_set_default_size(GTK_WINDOW(m_window), width, height);
    gtk_window_set_child(GTK_WINDOW(m_window), GTK_WIDGET(m_webView));
    if (m_configuration.placement == PMReaderConfiguration::Placement::Window) {
        gtk_window_present(GTK_WINDOW(m_window));
    } else {
        // An unmapped window never lays out its child; the page takes its
        // size from the view's allocation, so the view is given one.
        gtk_widget_realize(m_window);
        GtkAllocation allocation {0, 0, width, height};
        gtk_widget_size_allocate(GTK_WIDGET(m_webView), &allocation, -1);
    }
}

bool PMReaderWebView::waitUntilStarted(KCError* error)
{
    if (!runUntil([this] { return m_pageReady && m_loadFinished; }, m_configuration.startTimeoutSeconds)) {
        KCSetError(error, {PMReaderErrorDomain, 3, m_pageReady ? m_failure.value_or("the first page did not load")
                                                                   : "the web process extension did not start (" + m_failure.value_or("no answer") + ")"});
        return false;
    }
    return true;
}

PMReaderWebView::~PMReaderWebView()
{
    *m_alive = false;
    if (m_webView)
        g_signal_handlers_disconnect_by_data(m_webView, this);
    if (m_window) {
        gtk_window_destroy(GTK_WINDOW(m_window));
        g_object_unref(m_window);
    }
    if (m_webView)
        g_object_unref(m_webView);
    if (m_context) {
        g_signal_handlers_disconnect_by_data(m_context, this);
        g_object_unref(m_context);
    }
    // Let the engine finish tearing down before the loop stops turning.
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
}

GtkWidget* PMReaderWebView::detachWidget()
{
    if (m_window)
        gtk_window_set_child(GTK_WINDOW(m_window), nullptr);
    return GTK_WIDGET(m_webView);
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
    m_loadAnnounced = true;
    announceLoad(fileURI);
    webkit_web_view_load_uri(m_webView, fileURI.c_str());
}

void PMReaderWebView::announceLoad(const std::string& URI)
{
    sendMessage(PMBridgeMessageWillLoadDocument, KCValue(KCDictionary {{"URL", KCValue::fromUTF8(URI)}}));
}

bool PMReaderWebView::runUntil(const std::function<bool()>& done, double timeoutSeconds)
{
    const gint64 limit = static_cast<gint64>(timeoutSeconds * G_USEC_PER_SEC);
    const gint64 start = g_get_monotonic_time();
    bool timedOut = false;
    // Wakes the loop when the time is up, counted from the start or from the
    // last progress, whichever came later.
    GSource* alarm = g_source_new(&kAlarmFunctions, sizeof(GSource));
    g_source_set_callback(alarm, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
    g_source_attach(alarm, nullptr);
    while (!done() && !m_failure) {
        const gint64 deadline = std::max(start, m_lastProgress) + limit;
        if (g_get_monotonic_time() >= deadline) {
            timedOut = true;
            break;
        }
        g_source_set_ready_time(alarm, deadline);
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_destroy(alarm);
    g_source_unref(alarm);
    if (timedOut && !m_failure)
        m_failure = "timed out after " + std::to_string(static_cast<int>(timeoutSeconds)) + " s";
    return done();
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
        PMAnswerSnapshotRequest(view, message, [self, alive = self->m_alive] {
            if (*alive)
                self->m_lastProgress = g_get_monotonic_time();
        });
        return TRUE;
    }
    self->receive(name, PMKCValueFromGVariant(webkit_user_message_get_parameters(message)));
    return TRUE;
}

void PMReaderWebView::loadChanged(WebKitWebView* view, int event, gpointer data)
{
    auto* self = static_cast<PMReaderWebView*>(data);
    if (event == WEBKIT_LOAD_FINISHED)
        self->m_loadFinished = true;
    if (event != WEBKIT_LOAD_STARTED)
        return;
    if (std::exchange(self->m_loadAnnounced, false))
        return;
    // A reload, a page's own navigation or a step through history: the
    // extension hears of it late, but before the new document's subresources.
    const char* URI = webkit_web_view_get_uri(view);
    self->m_documentURI = URI ? URI : "";
    self->m_loadFinished = false;
    self->announceLoad(self->m_documentURI);
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
