#pragma once
// The reader's side of the engine: one web view whose web process runs the
// plug-in for one book. It starts the process with the initialisation
// dictionary, serves the book's files, puts the reader's page clean-up in
// every page (PMPageCleanup.h), tells the extension of every document load
// (its own and the page's: reloads, history), answers navigation policy with
// the plug-in's rule, supplies snapshots, and gives the reader the plug-in's
// messages. Everything runs on the GTK main thread; waits are bounded.
// Errors: create answers nullptr and fills *error (PMReaderErrorDomain);
// waits answer false and keep the reason in failure().
#include "PMBookScheme.h"
#include "Utilities/KCError.h"
#include "plugin/PMPlugInProtocol.h"
#include "Utilities/KCGeometry.h"
#include "Utilities/KCValue.h"

#include <glib.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

typedef struct _WebKitWebView WebKitWebView;
typedef struct _WebKitWebContext WebKitWebContext;
typedef struct _GtkWidget GtkWidget;

// The domain of the reader's errors: this view's and the reader window's.
inline constexpr const char* PMReaderErrorDomain = "PMReaderErrorDomain";

struct PMReaderConfiguration {
    PMBookConfiguration book;
    KCDictionary bookInfo;
    std::string extensionDirectory;
    KCSize viewSize {600, 800};
    enum class Placement {
        Window,     // a window of its own, presented
        Offscreen,  // never on screen (thumbnails, previews): the page is laid out and drawn at viewSize all the same
        Hosted,     // the caller shows the view in a window of its own (detachWidget)
    };
    Placement placement = Placement::Window;
    double startTimeoutSeconds = 30;
};

class PMReaderWebView {
public:
    using MessageHandler = std::function<void(const std::string& name, const KCValue& body)>;
    using NavigationHandler = std::function<void(const std::string& URI)>;

    // Nothing (with the reason) when the display, the engine or the extension
    // cannot be brought up within the start time-out.
    static std::unique_ptr<PMReaderWebView> create(const PMReaderConfiguration& configuration, KCError* error);
    // The same without waiting for the engine: the web process starts while
    // the caller builds its window, then waitUntilStarted waits for it.
    static std::unique_ptr<PMReaderWebView> begin(const PMReaderConfiguration& configuration, KCError* error);
    bool waitUntilStarted(KCError* error);
    ~PMReaderWebView();
    PMReaderWebView(const PMReaderWebView&) = delete;
    PMReaderWebView& operator=(const PMReaderWebView&) = delete;

    // Every message of the plug-in ("PluginError" included), as it arrives.
    void setMessageHandler(MessageHandler handler) { m_messageHandler = std::move(handler); }
    const MessageHandler& messageHandler() const { return m_messageHandler; }
    // Navigations that the plug-in's rule leaves to the reader; they are not loaded.
    void setNavigationHandler(NavigationHandler handler) { m_navigationHandler = std::move(handler); }

    void sendMessage(const std::string& name, const KCValue& body);
    void prepareForDocumentTask(const PMDocumentTask& task) { sendMessage(PMPrepareForDocumentTaskMessage, KCValue(task.encode())); }
    void loadDocument(const std::string& fileURI);

    // Turns the main loop until `done` answers true. False on time-out, on a
    // failed document load or when the web process ended; failure() tells which.
    // The time-out restarts whenever a snapshot piece is drawn: a long
    // document is given the time it takes as long as it keeps coming.
    bool runUntil(const std::function<bool()>& done, double timeoutSeconds);
    const std::optional<std::string>& failure() const { return m_failure; }
    void clearFailure() { m_failure.reset(); }
    bool webProcessTerminated() const { return m_webProcessTerminated; }

    // The page's own view of itself: a script's completion value as a
    // string, evaluated in the page's main world. Nothing when it threw.
    std::optional<std::string> evaluateScript(const std::string& script, double timeoutSeconds);

    WebKitWebView* webView() const { return m_webView; }
    // The web view for a reader window to show, out of the view's own window
    // if it has one; the view keeps its own reference all the same.
    GtkWidget* detachWidget();

private:
    PMReaderWebView() = default;
    bool start(const PMReaderConfiguration& configuration, KCError* error);
    void placeView();
    void receive(const std::string& name, const KCValue& body);
    // Tells the extension that a document load starts (resource tracking
    // begins afresh for it).
    void announceLoad(const std::string& URI);

    static void initializeWebProcessExtensions(WebKitWebContext* context, gpointer self);
    static gboolean userMessageReceived(WebKitWebView* view, struct _WebKitUserMessage* message, gpointer self);
    static void loadChanged(WebKitWebView* view, int event, gpointer self);
    static gboolean loadFailed(WebKitWebView* view, int event, const char* URI, GError* error, gpointer self);
    static void webProcessTerminatedSignal(WebKitWebView* view, int reason, gpointer self);

    PMReaderConfiguration m_configuration;
    WebKitWebContext* m_context = nullptr;
    WebKitWebView* m_webView = nullptr;
    GtkWidget* m_window = nullptr;
    std::string m_documentURI;
    MessageHandler m_messageHandler;
    NavigationHandler m_navigationHandler;
    std::optional<std::string> m_failure;
    bool m_pageReady = false;
    bool m_loadFinished = false;
    bool m_loadAnnounced = false;  // the next load start was announced already
    bool m_webProcessTerminated = false;
    gint64 m_lastProgress = 0;  // monotonic time of the last snapshot piece
    // Callbacks that the engine may still make while the view goes away check it.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};

// Where the web process extension lies: $PAGEMOOR_EXTENSION_DIR, else the
// directory the build put it in.
std::string PMWebExtensionDirectory();
