#pragma once
// The page, frame and browser-context ports on a WebKitWebPage. The page
// keeps the callback clients that the plug-in installs; the extension's
// signal handlers and the UI-side bridge messages call them.
#include "platform/PMBrowserContext.h"

typedef struct _WebKitWebPage WebKitWebPage;

class PMWebKitFrame final : public PMFrame {
public:
    explicit PMWebKitFrame(WebKitWebPage* page) : m_page(page) {}
    KCRect contentBounds() override;
    // The web process cannot draw its page into a bitmap: the UI side takes
    // the snapshot and answers a bridge message; this waits for the answer.
    std::optional<KCImage> snapshotOfRect(const KCRect& rect, double scale) override;
    std::shared_ptr<PMScriptContext> scriptContext() override;
    std::shared_ptr<PMDOMDocument> document() override;

private:
    WebKitWebPage* m_page;  // the page outlives its frame object
};

class PMWebKitPage final : public PMPage {
public:
    explicit PMWebKitPage(WebKitWebPage* page) : m_page(page), m_mainFrame(std::make_shared<PMWebKitFrame>(page)) {}
    WebKitWebPage* webPage() const { return m_page; }

    std::shared_ptr<PMFrame> mainFrame() override { return m_mainFrame; }
    void setPageLoaderClient(PMPageLoaderClient* client) override { m_pageLoaderClient = client; }
    void setResourceLoadClient(PMResourceLoadClient* client) override { m_resourceLoadClient = client; }
    void setNavigationPolicyClient(PMNavigationPolicyClient* client) override { m_navigationPolicyClient = client; }

    PMPageLoaderClient* pageLoaderClient() const { return m_pageLoaderClient; }
    PMResourceLoadClient* resourceLoadClient() const { return m_resourceLoadClient; }
    PMNavigationPolicyClient* navigationPolicyClient() const { return m_navigationPolicyClient; }

private:
    WebKitWebPage* m_page;
    std::shared_ptr<PMWebKitFrame> m_mainFrame;
    PMPageLoaderClient* m_pageLoaderClient = nullptr;
    PMResourceLoadClient* m_resourceLoadClient = nullptr;
    PMNavigationPolicyClient* m_navigationPolicyClient = nullptr;
};

class PMWebKitBrowserContext final : public PMBrowserContextController {
public:
    explicit PMWebKitBrowserContext(WebKitWebPage* page) : m_page(std::make_shared<PMWebKitPage>(page)) {}
    std::shared_ptr<PMPage> page() override { return m_page; }
    const std::shared_ptr<PMWebKitPage>& webKitPage() const { return m_page; }

private:
    std::shared_ptr<PMWebKitPage> m_page;
};
