#pragma once
// The plug-in of one web content process: configures the book resource
// protocol at start-up, watches each page's loading stages and resource
// loads, runs the one task that the UI process set for the current document
// and answers with a message. Everything runs on the process's main thread.
#include "PMPlugInProtocol.h"
#include "platform/PMBrowserContext.h"
#include "platform/PMMessageConnection.h"
#include "platform/PMPlugInController.h"
#include "Utilities/KCGeometry.h"
#include "Utilities/KCValue.h"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

class PMMainQueue;
class PMProcess;
class PMRunLoop;
class PMSandbox;

// What the process gives the plug-in besides the engine's calls; not owned,
// and alive as long as the plug-in.
struct PMPlugInServices {
    PMMainQueue* mainQueue = nullptr;
    PMRunLoop* runLoop = nullptr;
    PMProcess* process = nullptr;
    PMSandbox* sandbox = nullptr;
};

class PMEpubWebProcessPlugIn final
    : public PMMessageConnectionDelegate
    , public PMPageLoaderClient
    , public PMResourceLoadClient
    , public PMNavigationPolicyClient
    , public std::enable_shared_from_this<PMEpubWebProcessPlugIn> {
    struct Passkey {};

public:
    // Deferred work holds the plug-in, so it always lives in a shared_ptr.
    static std::shared_ptr<PMEpubWebProcessPlugIn> create(const PMPlugInServices& services);
    PMEpubWebProcessPlugIn(Passkey, const PMPlugInServices& services) : m_services(services) {}

    // Calls from the engine.
    void initializeWithObject(std::shared_ptr<PMPlugInController> controller, const KCValue& initializationObject);
    void didCreateBrowserContextController(PMPlugInController& controller, const std::shared_ptr<PMBrowserContextController>& browserContext);
    void didDestroyBrowserContextController(PMPlugInController& controller, const std::shared_ptr<PMBrowserContextController>& browserContext);

    void didReceiveMessageWithName(PMMessageConnection& connection, std::string_view name, const KCValue& body) override;
    void connectionDidClose(PMMessageConnection&) override {}

    void didStartProvisionalLoadForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame) override;
    void didFinishDocumentLoadForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame) override;
    void didFinishLoadForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame) override;
    void didFirstLayoutForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame) override;

    void didInitiateLoadForResource(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame, uint64_t resourceIdentifier) override;
    void didFinishLoadForResource(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame, uint64_t resourceIdentifier) override;
    void didFailLoadForResource(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame, uint64_t resourceIdentifier) override;

    PMNavigationPolicy decidePolicyForNavigationAction(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame, const PMNavigationAction& action) override;

    // Stage s sets bit 1 << s; the snapshot task fires once, 100 ms after
    // the second of the two stages.
    void didCompleteLoadingStage(uint64_t stage, const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame);

    // Tasks (PMPageTextTasks.cpp, PMPageSnapshot.cpp).
    void completePageTask();
    void buildBloomFilter();
    void retrieveSearchStringContext();
    void sendSnapshotOfPage(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame);
    // The body's text without ruby annotation text.
    std::u16string iteratedText();
    // The node itself or its nearest ancestor that is an element named exactly `name`.
    static std::shared_ptr<PMDOMNode> _ancestorOfNode(const std::shared_ptr<PMDOMNode>& node, std::u16string_view name);
    static std::u16string convertNewlineCharacterSetToSpaceInString(std::u16string_view text);

    // State, for the other parts of the plug-in and for tests.
    const std::set<std::shared_ptr<PMBrowserContextController>>& activeBrowserContexts() const { return m_activeBrowserContexts; }
    uint64_t documentIndex() const { return m_documentIndex; }
    uint64_t completedLayoutStages() const { return m_completedLayoutStages; }
    // A dictionary, or null after an update whose body was not one.
    const KCValue& bookInfo() const { return m_bookInfo; }
    bool snapshotViewportOnly() const { return m_snapshotViewportOnly; }
    int64_t plugInTask() const { return m_plugInTask; }
    const std::u16string& searchString() const { return m_searchString; }
    KCSize snapshotSize() const { return m_snapshotSize; }

private:
    void p_prepareForDocumentTask(const KCDictionary& body);
    void p_addResourceID(uint64_t resourceIdentifier, const std::shared_ptr<PMBrowserContextController>& browserContext);
    void p_removeResourceID(uint64_t resourceIdentifier, const std::shared_ptr<PMBrowserContextController>& browserContext);
    void p_completedResourceLoadForBrowserContextController(const std::shared_ptr<PMBrowserContextController>& browserContext);
    KCSize p_viewportSizeForPage(PMPage& page, const KCSize& outerSize);

    std::shared_ptr<PMBrowserContextController> browserContextForPage(const PMPage* page) const;
    // The tracked set of a live context; nullptr when there is none.
    std::set<uint64_t>* resourcesForBrowserContext(const std::shared_ptr<PMBrowserContextController>& browserContext);
    void sendMessageWithName(std::string_view name, const KCValue& body);

    PMPlugInServices m_services;
    std::shared_ptr<PMPlugInController> m_controller;
    uint64_t m_documentIndex = 0;
    uint64_t m_completedLayoutStages = 0;
    KCValue m_bookInfo = KCValue(KCDictionary());
    bool m_snapshotViewportOnly = false;
    std::set<std::shared_ptr<PMBrowserContextController>> m_activeBrowserContexts;
    int64_t m_plugInTask = PMPlugInTaskNone;
    std::u16string m_searchString;
    // Weak keys: an entry goes with its context.
    struct TrackedResources {
        std::weak_ptr<PMBrowserContextController> browserContext;
        std::set<uint64_t> identifiers;
    };
    std::map<const PMBrowserContextController*, TrackedResources> m_resourcesForBrowserContext;
    KCSize m_snapshotSize;
};
