#include "PMEpubWebProcessPlugIn.h"

#include "PMNavigationRule.h"
#include "PMScriptBridge.h"
#include "resources/PMURLProtocol.h"
#include "platform/PMMainQueue.h"
#include "platform/PMProcess.h"
#include "platform/PMRunLoop.h"
#include "platform/PMSandbox.h"
#include "Utilities/KCLogger.h"

namespace {

constexpr uint64_t kSnapshotDelayNanoseconds = 100'000'000;
constexpr uint64_t kBothLoadingStages = (1u << PMLoadingStageLoadFinished) | (1u << PMLoadingStageFirstLayout);


} // namespace

std::shared_ptr<PMEpubWebProcessPlugIn> PMEpubWebProcessPlugIn::create(const PMPlugInServices& services)
{
    return std::make_shared<PMEpubWebProcessPlugIn>(Passkey {}, services);
}

void PMEpubWebProcessPlugIn::initializeWithObject(std::shared_ptr<PMPlugInController> controller, const KCValue& initializationObject)
{
    m_controller = std::move(controller);
    m_activeBrowserContexts.clear();
    std::shared_ptr<PMMessageConnection> connection = m_controller ? m_controller->connection() : nullptr;
    if (connection)
        connection->setDelegate(this);
    m_plugInTask = PMPlugInTaskNone;
    m_resourcesForBrowserContext.clear();
    m_bookInfo = KCValue(KCDictionary());

    PMURLProtocol::registerPMURLProtocol();
    PMURLProtocol::setConnection(connection);

    const KCDictionary* initialization = initializationObject.dictionary();
    if (!initialization)
        return;

    if (const KCValue* extensions = initialization->find(PMInitializationSandboxExtensionsKey)) {
        const KCArray* tokens = extensions->array();
        for (size_t index = 0; tokens && index < tokens->size(); ++index) {
            const KCData* token = (*tokens)[index].data();
            if (!token)
                KCLog("Sandbox extension %lu is not data", static_cast<unsigned long>(index));
            else if (!m_services.sandbox || !m_services.sandbox->consumeSandboxExtension(*token))
                KCLog("Sandbox extension %lu was not consumed", static_cast<unsigned long>(index));
        }
    }
    if (const KCValue* path = initialization->find(PMInitializationBookContentsPathKey); path && path->string())
        PMURLProtocol::setBookContentsPath(path->utf8String());
    if (const KCValue* resources = initialization->find(PMInitializationBookResourceDataKey); resources && resources->dictionary())
        PMURLProtocol::setBookResourceData(*resources->dictionary());
    PMURLProtocol::setPaginationMode(initializationObject[PMInitializationPaginationModeKey].boolValue().value_or(false));
    if (const KCValue* bookInfo = initialization->find(PMInitializationBookInfoKey); bookInfo && bookInfo->dictionary())
        m_bookInfo = *bookInfo;
}

void PMEpubWebProcessPlugIn::didCreateBrowserContextController(PMPlugInController&, const std::shared_ptr<PMBrowserContextController>& browserContext)
{
    if (!browserContext)
        return;
    m_activeBrowserContexts.insert(browserContext);
    if (std::shared_ptr<PMPage> page = browserContext->page()) {
        page->setNavigationPolicyClient(this);
        page->setPageLoaderClient(this);
    }
}

void PMEpubWebProcessPlugIn::didDestroyBrowserContextController(PMPlugInController&, const std::shared_ptr<PMBrowserContextController>& browserContext)
{
    // The tracking entry goes when the context itself is released.
    m_activeBrowserContexts.erase(browserContext);
}

void PMEpubWebProcessPlugIn::sendMessageWithName(std::string_view name, const KCValue& body)
{
    std::shared_ptr<PMMessageConnection> connection = m_controller ? m_controller->connection() : nullptr;
    if (!connection) {
        KCLog("No connection to send %s", std::string(name).c_str());
        return;
    }
    connection->sendMessageWithName(name, body);
}

// MARK: Messages

void PMEpubWebProcessPlugIn::didReceiveMessageWithName(PMMessageConnection&, std::string_view name, const KCValue& body)
{
    if (name == PMPrepareForDocumentTaskMessage) {
        if (const KCDictionary* dictionary = body.dictionary())
            p_prepareForDocumentTask(*dictionary);
        else
            KCLog("Ignoring %s with a body that is not a dictionary", PMPrepareForDocumentTaskMessage);
    } else if (name == PMHardStopAndExitMessage) {
        if (m_services.process)
            m_services.process->exitProcess(0);
    } else if (name == PMEpubWebProcessPlugInMessageUpdateBookInfo) {
        m_bookInfo = body.dictionary() ? body : KCValue();
    }
}

void PMEpubWebProcessPlugIn::p_prepareForDocumentTask(const KCDictionary& body)
{
    PMDocumentTask task = PMDocumentTask::decode(body);
    m_plugInTask = task.task;
    m_documentIndex = task.documentIndex;
    m_completedLayoutStages = 0;
    if (m_plugInTask == PMPlugInTaskSnapshot) {
        m_snapshotSize = task.snapshotSize;
        // An absent key keeps the previous setting.
        if (task.viewportOnly)
            m_snapshotViewportOnly = *task.viewportOnly;
    } else if (m_plugInTask == PMPlugInTaskSearchContext) {
        m_searchString = std::move(task.searchString);
    }
}

// MARK: Navigation

PMNavigationPolicy PMEpubWebProcessPlugIn::decidePolicyForNavigationAction(const std::shared_ptr<PMPage>&, const std::shared_ptr<PMFrame>&, const PMNavigationAction& action)
{
    return PMNavigationPolicyForAction(action);
}

// MARK: Loading stages

void PMEpubWebProcessPlugIn::didStartProvisionalLoadForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>&)
{
    page->setResourceLoadClient(this);
}

void PMEpubWebProcessPlugIn::didFinishDocumentLoadForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>&)
{
    executeJavaScriptFuncWithArgsInPage(u"PMDOMCleanup.didFinishDocumentLoad", {m_bookInfo}, *page);
}

void PMEpubWebProcessPlugIn::didFinishLoadForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame)
{
    executeJavaScriptFuncWithArgsInPage(u"PMDOMCleanup.didFinishLoad", {m_bookInfo}, *page);
    // Reading a layout property forces a layout before the task looks at the page.
    executeJavaScriptInPage(u"document.offsetTop", *page);
    setNativeBridgingFunctionsInPage(*this, *page);
    switch (m_plugInTask) {
    case PMPlugInTaskBloomFilter:
        buildBloomFilter();
        break;
    case PMPlugInTaskSearchContext:
        retrieveSearchStringContext();
        break;
    case PMPlugInTaskPage:
        completePageTask();
        break;
    default:
        break;
    }
    didCompleteLoadingStage(PMLoadingStageLoadFinished, page, frame);
}

void PMEpubWebProcessPlugIn::didFirstLayoutForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame)
{
    didCompleteLoadingStage(PMLoadingStageFirstLayout, page, frame);
}

void PMEpubWebProcessPlugIn::didCompleteLoadingStage(uint64_t stage, const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame)
{
    uint64_t bit = stage < 64 ? uint64_t(1) << stage : 0;
    bool alreadySet = (m_completedLayoutStages & bit) != 0;
    m_completedLayoutStages |= bit;
    if (m_plugInTask != PMPlugInTaskSnapshot || alreadySet || (m_completedLayoutStages & kBothLoadingStages) != kBothLoadingStages)
        return;
    if (!m_services.mainQueue) {
        KCLog("No main queue to schedule the snapshot on");
        return;
    }
    m_services.mainQueue->dispatchAfter(kSnapshotDelayNanoseconds, [plugIn = shared_from_this(), page, frame] {
        plugIn->sendSnapshotOfPage(page, frame);
    });
}

void PMEpubWebProcessPlugIn::completePageTask()
{
    sendMessageWithName(PMEpubWebProcessPlugInMessagePageTask, PMEncodePageReply(m_documentIndex));
}

// MARK: Resource loads

std::shared_ptr<PMBrowserContextController> PMEpubWebProcessPlugIn::browserContextForPage(const PMPage* page) const
{
    for (const auto& browserContext : m_activeBrowserContexts) {
        if (browserContext->page().get() == page)
            return browserContext;
    }
    return nullptr;
}

std::set<uint64_t>* PMEpubWebProcessPlugIn::resourcesForBrowserContext(const std::shared_ptr<PMBrowserContextController>& browserContext)
{
    // Entries of released contexts are dropped here, so a new context that
    // reuses an address starts without one.
    std::erase_if(m_resourcesForBrowserContext, [](const auto& entry) { return entry.second.browserContext.expired(); });
    auto found = m_resourcesForBrowserContext.find(browserContext.get());
    return found == m_resourcesForBrowserContext.end() ? nullptr : &found->second.identifiers;
}

void PMEpubWebProcessPlugIn::didInitiateLoadForResource(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>&, uint64_t resourceIdentifier)
{
    if (auto browserContext = browserContextForPage(page.get()))
        p_addResourceID(resourceIdentifier, browserContext);
}

void PMEpubWebProcessPlugIn::didFinishLoadForResource(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>&, uint64_t resourceIdentifier)
{
    if (auto browserContext = browserContextForPage(page.get()))
        p_removeResourceID(resourceIdentifier, browserContext);
}

void PMEpubWebProcessPlugIn::didFailLoadForResource(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>&, uint64_t resourceIdentifier)
{
    if (auto browserContext = browserContextForPage(page.get()))
        p_removeResourceID(resourceIdentifier, browserContext);
}

void PMEpubWebProcessPlugIn::p_addResourceID(uint64_t resourceIdentifier, const std::shared_ptr<PMBrowserContextController>& browserContext)
{
    std::set<uint64_t>* resources = resourcesForBrowserContext(browserContext);
    if (!resources) {
        TrackedResources& entry = m_resourcesForBrowserContext[browserContext.get()];
        entry.browserContext = browserContext;
        resources = &entry.identifiers;
    } else if (resources->empty() && m_services.runLoop) {
        // The batch's completion is pending: this load continues the batch.
        m_services.runLoop->cancelPreviousPerformRequests(browserContext.get());
    }
    resources->insert(resourceIdentifier);
}

void PMEpubWebProcessPlugIn::p_removeResourceID(uint64_t resourceIdentifier, const std::shared_ptr<PMBrowserContextController>& browserContext)
{
    std::set<uint64_t>* resources = resourcesForBrowserContext(browserContext);
    if (!resources)
        return;
    resources->erase(resourceIdentifier);
    if (!resources->empty())
        return;
    if (!m_services.runLoop) {
        KCLog("No run loop to complete the resource loads on");
        return;
    }
    // Next turn, so that a load started in this turn can still cancel it.
    m_services.runLoop->performAfterDelay(browserContext.get(), [plugIn = shared_from_this(), browserContext] {
        plugIn->p_completedResourceLoadForBrowserContextController(browserContext);
    }, 0);
}

void PMEpubWebProcessPlugIn::p_completedResourceLoadForBrowserContextController(const std::shared_ptr<PMBrowserContextController>& browserContext)
{
    std::shared_ptr<PMPage> page = browserContext->page();
    if (!resourcesForBrowserContext(browserContext)) {
        KCLog("Error: Expected resources for pageRef: %p", static_cast<const void*>(page.get()));
        return;
    }
    m_resourcesForBrowserContext.erase(browserContext.get());
    if (page)
        page->setResourceLoadClient(nullptr);
    sendMessageWithName(PMEpubWebProcessPlugInMessageResourceLoadTask, KCValue());
}
