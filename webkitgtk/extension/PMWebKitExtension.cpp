// The entry point that WebKitGTK calls in each web process. It creates the
// plug-in and turns the engine's page signals, and the UI side's bridge
// messages for what the web-process API lacks, into the plug-in's engine
// callbacks:
//   provisional load started  <- bridge "WillLoadDocument" (sent before each of
//                                the UI side's loads, and when any other starts)
//   document load finished    <- "document-loaded"
//   load finished             <- the page's 'load' event, or its 'pageshow'
//                                when history brings it back whole
//   first layout              <- a forced layout once the page's fonts are ready
//   resource loads            <- bridge "Resource*" (the UI side sees every load end)
//   navigation policy         <- decided on the UI side with the plug-in's own rule
// Book file requests are claimed with the plug-in's protocol and moved to
// the book scheme, which the UI side serves through the same protocol.
#include "Messages/PMGVariantValue.h"
#include "Messages/PMWebKitBridgeMessages.h"
#include "plugin/PMEpubWebProcessPlugIn.h"
#include "PMGLibServices.h"
#include "PMWebKitConnection.h"
#include "PMWebKitPage.h"
#include "PMWebKitScript.h"
#include "Utilities/KCLogger.h"
#include "platform/PMURLProtocolRegistry.h"

#include <webkit/webkit-web-process-extension.h>

#include <cstring>
#include <map>
#include <string>

namespace {

constexpr const char* kLoadStageFunction = "__PMWebKitLoadStage";

struct PageState {
    std::shared_ptr<PMWebKitBrowserContext> browserContext;
    std::string documentURL;  // the document the UI side is loading
};

struct Extension {
    PMGLibMainQueue mainQueue;
    PMGLibRunLoop runLoop;
    PMGLibProcess process;
    PMBubblewrapSandbox sandbox;
    std::shared_ptr<PMWebKitConnection> connection = std::make_shared<PMWebKitConnection>();
    std::shared_ptr<PMWebKitPlugInController> controller = std::make_shared<PMWebKitPlugInController>(connection);
    std::shared_ptr<PMEpubWebProcessPlugIn> plugIn;
    std::map<guint64, PageState> pages;
};

Extension* extension()
{
    // Lives as long as the process; never destroyed, as the engine may call
    // in while the process exits.
    static Extension* instance = new Extension;
    return instance;
}

PageState* pageState(guint64 pageID)
{
    auto found = extension()->pages.find(pageID);
    return found == extension()->pages.end() ? nullptr : &found->second;
}

// Runs a loading stage on a later turn, outside the page script that reported it.
void reportLoadStage(guint64 pageID, bool loadFinished)
{
    struct Stage {
        guint64 pageID;
        bool loadFinished;
    };
    g_idle_add_full(G_PRIORITY_DEFAULT, [](gpointer data) -> gboolean {
        auto* stage = static_cast<Stage*>(data);
        PageState* state = pageState(stage->pageID);
        if (!state)
            return G_SOURCE_REMOVE;
        auto page = state->browserContext->webKitPage();
        if (PMPageLoaderClient* client = page->pageLoaderClient()) {
            if (stage->loadFinished)
                client->didFinishLoadForFrame(page, page->mainFrame());
            else
                client->didFirstLayoutForFrame(page, page->mainFrame());
        }
        return G_SOURCE_REMOVE;
    }, new Stage {pageID, loadFinished}, [](gpointer data) { delete static_cast<Stage*>(data); });
}

void loadStageCalled(const char* stage, gpointer pageID)
{
    reportLoadStage(GPOINTER_TO_SIZE(pageID), stage && std::string(stage) == "load");
}

void installLoadStageListeners(WebKitWebPage* page)
{
    JSCContext* context = PMWebKitPageScriptContext(page);
    JSCValue* function = jsc_value_new_function(context, kLoadStageFunction, G_CALLBACK(loadStageCalled),
        GSIZE_TO_POINTER(webkit_web_page_get_id(page)), nullptr, G_TYPE_NONE, 1, G_TYPE_STRING);
    jsc_context_set_value(context, kLoadStageFunction, function);
    g_object_unref(function);
    // The first layout is taken once fonts are ready: the load event can come
    // before a web font has arrived. Reading a layout value lays the page out
    // there and then; a frame callback would never come in a view that is
    // not on screen.
    PMWebKitEvaluateQuietly(context, R"JS(
(function() {
    var report = __PMWebKitLoadStage;
    function loaded() {
        report('load');
        document.fonts.ready.then(function() {
            void document.documentElement.getBoundingClientRect().height;
            report('layout');
        });
    }
    if (document.readyState === 'complete')
        loaded();
    else
        window.addEventListener('load', loaded, { once: true });
    // A page brought back whole from history has no load event of its own.
    window.addEventListener('pageshow', function(event) {
        if (event.persisted)
            loaded();
    });
})())JS");
    g_object_unref(context);
}

void documentLoaded(WebKitWebPage* page, gpointer)
{
    PageState* state = pageState(webkit_web_page_get_id(page));
    if (!state)
        return;
    auto webKitPage = state->browserContext->webKitPage();
    if (PMPageLoaderClient* client = webKitPage->pageLoaderClient())
        client->didFinishDocumentLoadForFrame(webKitPage, webKitPage->mainFrame());
    installLoadStageListeners(page);
}

gboolean sendRequest(WebKitWebPage* page, WebKitURIRequest* request, WebKitURIResponse*, gpointer)
{
    const char* uri = webkit_uri_request_get_uri(request);
    PageState* state = pageState(webkit_web_page_get_id(page));
    // The document itself stays a file URL, or its URL would change. A load
    // that the UI side did not start (history, reload) is announced only
    // after its request, but by then it is the page's provisional URI.
    const char* pageURI = webkit_web_page_get_uri(page);
    if (!uri || !state || state->documentURL == uri || (pageURI && !strcmp(pageURI, uri)) || !g_str_has_prefix(uri, "file://"))
        return FALSE;
    PMURLRequest urlRequest(KCURL::URLWithString(uri));
    if (!PMURLProtocolRegistry::shared().handlerForRequest(urlRequest))
        return FALSE;
    std::string bookURI = std::string(PMBookURIScheme) + ":" + (uri + 5);
    webkit_uri_request_set_uri(request, bookURI.c_str());
    return FALSE;
}

void resourceMessage(const std::shared_ptr<PMWebKitPage>& page, const char* name, const KCValue& body)
{
    PMResourceLoadClient* client = page->resourceLoadClient();
    auto identifier = body["identifier"].uint64Value();
    if (!client || !identifier)
        return;
    if (!strcmp(name, PMBridgeMessageResourceStarted))
        client->didInitiateLoadForResource(page, page->mainFrame(), *identifier);
    else if (!strcmp(name, PMBridgeMessageResourceFinished))
        client->didFinishLoadForResource(page, page->mainFrame(), *identifier);
    else if (!strcmp(name, PMBridgeMessageResourceFailed))
        client->didFailLoadForResource(page, page->mainFrame(), *identifier);
}

gboolean userMessageReceived(WebKitWebPage* page, WebKitUserMessage* message, gpointer)
{
    PageState* state = pageState(webkit_web_page_get_id(page));
    if (!state)
        return FALSE;
    const char* name = webkit_user_message_get_name(message);
    KCValue body = PMKCValueFromGVariant(webkit_user_message_get_parameters(message));
    auto webKitPage = state->browserContext->webKitPage();
    if (!strcmp(name, PMBridgeMessageWillLoadDocument)) {
        state->documentURL = body["URL"].utf8String();
        if (PMPageLoaderClient* client = webKitPage->pageLoaderClient())
            client->didStartProvisionalLoadForFrame(webKitPage, webKitPage->mainFrame());
    } else if (g_str_has_prefix(name, "PMBridge.")) {
        resourceMessage(webKitPage, name, body);
    } else {
        extension()->connection->setPage(page);
        extension()->connection->deliver(name, body);
    }
    return TRUE;
}

void pageDestroyed(gpointer pageID, GObject*)
{
    Extension* state = extension();
    auto found = state->pages.find(GPOINTER_TO_SIZE(pageID));
    if (found == state->pages.end())
        return;
    auto browserContext = found->second.browserContext;
    state->pages.erase(found);
    if (state->connection->page() == browserContext->webKitPage()->webPage())
        state->connection->setPage(state->pages.empty() ? nullptr : state->pages.begin()->second.browserContext->webKitPage()->webPage());
    state->plugIn->didDestroyBrowserContextController(*state->controller, browserContext);
}

void pageCreated(WebKitWebProcessExtension*, WebKitWebPage* page, gpointer)
{
    Extension* state = extension();
    guint64 pageID = webkit_web_page_get_id(page);
    auto browserContext = std::make_shared<PMWebKitBrowserContext>(page);
    state->pages[pageID] = PageState {browserContext, {}};
    state->connection->setPage(page);
    g_signal_connect(page, "send-request", G_CALLBACK(sendRequest), nullptr);
    g_signal_connect(page, "document-loaded", G_CALLBACK(documentLoaded), nullptr);
    g_signal_connect(page, "user-message-received", G_CALLBACK(userMessageReceived), nullptr);
    g_object_weak_ref(G_OBJECT(page), pageDestroyed, GSIZE_TO_POINTER(pageID));
    state->plugIn->didCreateBrowserContextController(*state->controller, browserContext);
    webkit_web_page_send_message_to_view(page, webkit_user_message_new(PMBridgeMessagePageReady, nullptr), nullptr, nullptr, nullptr);
}

} // namespace

extern "C" G_MODULE_EXPORT void webkit_web_process_extension_initialize_with_user_data(WebKitWebProcessExtension* webProcessExtension, const GVariant* userData)
{
    Extension* state = extension();
    state->plugIn = PMEpubWebProcessPlugIn::create({&state->mainQueue, &state->runLoop, &state->process, &state->sandbox});
    state->plugIn->initializeWithObject(state->controller, PMKCValueFromGVariant(const_cast<GVariant*>(userData)));
    g_signal_connect(webProcessExtension, "page-created", G_CALLBACK(pageCreated), nullptr);
}
