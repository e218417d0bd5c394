#pragma once
// Pages, frames and browser contexts that tests drive: a page plays a
// scripted sequence of load stages and resource loads to whichever clients
// are installed at each step, as the engine would.
#include "platform/PMBrowserContext.h"

#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

class PMFakeFrame final : public PMFrame {
public:
    struct SnapshotRequest {
        KCRect rect;
        double scale;
    };

    KCRect contentBounds() override { return m_contentBounds; }
    std::optional<KCImage> snapshotOfRect(const KCRect& rect, double scale) override;
    std::shared_ptr<PMScriptContext> scriptContext() override { return m_scriptContext; }
    std::shared_ptr<PMDOMDocument> document() override { return m_document; }

    void setContentBounds(const KCRect& bounds) { m_contentBounds = bounds; }
    // The image every snapshot answers; nothing makes snapshots fail.
    void setSnapshotImage(std::optional<KCImage> image) { m_snapshotImage = std::move(image); }
    void setScriptContext(std::shared_ptr<PMScriptContext> context) { m_scriptContext = std::move(context); }
    void setDocument(std::shared_ptr<PMDOMDocument> document) { m_document = std::move(document); }
    const std::vector<SnapshotRequest>& snapshotRequests() const { return m_snapshotRequests; }

private:
    KCRect m_contentBounds;
    std::optional<KCImage> m_snapshotImage;
    std::shared_ptr<PMScriptContext> m_scriptContext;
    std::shared_ptr<PMDOMDocument> m_document;
    std::vector<SnapshotRequest> m_snapshotRequests;
};

struct PMFakeLoadStep {
    enum class Kind {
        ProvisionalLoadStarted,
        DocumentLoadFinished,
        LoadFinished,
        FirstLayout,
        ResourceInitiated,
        ResourceFinished,
        ResourceFailed,
    };
    Kind kind;
    uint64_t resourceIdentifier = 0;

    static PMFakeLoadStep provisionalLoadStarted() { return {Kind::ProvisionalLoadStarted}; }
    static PMFakeLoadStep documentLoadFinished() { return {Kind::DocumentLoadFinished}; }
    static PMFakeLoadStep loadFinished() { return {Kind::LoadFinished}; }
    static PMFakeLoadStep firstLayout() { return {Kind::FirstLayout}; }
    static PMFakeLoadStep resourceInitiated(uint64_t identifier) { return {Kind::ResourceInitiated, identifier}; }
    static PMFakeLoadStep resourceFinished(uint64_t identifier) { return {Kind::ResourceFinished, identifier}; }
    static PMFakeLoadStep resourceFailed(uint64_t identifier) { return {Kind::ResourceFailed, identifier}; }
};

class PMFakePage final : public PMPage, public std::enable_shared_from_this<PMFakePage> {
public:
    PMFakePage() : m_mainFrame(std::make_shared<PMFakeFrame>()) {}

    std::shared_ptr<PMFrame> mainFrame() override { return m_mainFrame; }
    void setPageLoaderClient(PMPageLoaderClient* client) override { m_pageLoaderClient = client; }
    void setResourceLoadClient(PMResourceLoadClient* client) override { m_resourceLoadClient = client; }
    void setNavigationPolicyClient(PMNavigationPolicyClient* client) override { m_navigationPolicyClient = client; }

    const std::shared_ptr<PMFakeFrame>& fakeMainFrame() const { return m_mainFrame; }
    PMPageLoaderClient* pageLoaderClient() const { return m_pageLoaderClient; }
    PMResourceLoadClient* resourceLoadClient() const { return m_resourceLoadClient; }
    PMNavigationPolicyClient* navigationPolicyClient() const { return m_navigationPolicyClient; }

    // Each step goes to the client installed at that moment; a step whose
    // client is missing is dropped, as the engine would not report it.
    void play(std::initializer_list<PMFakeLoadStep> steps);
    void play(const PMFakeLoadStep& step);
    // The installed policy client's answer; Use when there is none.
    PMNavigationPolicy decidePolicy(const PMNavigationAction& action);

private:
    std::shared_ptr<PMFakeFrame> m_mainFrame;
    PMPageLoaderClient* m_pageLoaderClient = nullptr;
    PMResourceLoadClient* m_resourceLoadClient = nullptr;
    PMNavigationPolicyClient* m_navigationPolicyClient = nullptr;
};

class PMFakeBrowserContext final : public PMBrowserContextController {
public:
    PMFakeBrowserContext() : m_page(std::make_shared<PMFakePage>()) {}
    std::shared_ptr<PMPage> page() override { return m_page; }
    const std::shared_ptr<PMFakePage>& fakePage() const { return m_page; }

private:
    std::shared_ptr<PMFakePage> m_page;
};
