#pragma once
// A page of the web content process as the plug-in sees it: the browser
// context that the engine creates for it, the page with its callback
// clients, and the page's main frame.
#include "PMPageText.h"
#include "PMScriptContext.h"
#include "Utilities/KCGeometry.h"
#include "Utilities/KCImage.h"
#include "Utilities/KCURL.h"

#include <cstdint>
#include <memory>
#include <optional>

class PMPage;

class PMFrame {
public:
    virtual ~PMFrame() = default;
    // The bounds of the frame's content in document coordinates.
    virtual KCRect contentBounds() = 0;
    // An image of the document rectangle drawn at the scale; nothing when
    // the engine could not make one.
    virtual std::optional<KCImage> snapshotOfRect(const KCRect& rect, double scale) = 0;
    virtual std::shared_ptr<PMScriptContext> scriptContext() = 0;
    virtual std::shared_ptr<PMDOMDocument> document() = 0;
};

// Navigation types as the engine numbers them.
enum class PMNavigationType : int64_t {
    LinkClicked = 0,
    FormSubmitted = 1,
    BackForward = 2,
    Reload = 3,
    FormResubmitted = 4,
    Other = 5,
};

struct PMNavigationAction {
    std::optional<KCURL> requestURL;  // nothing when the request's URL did not parse
    int64_t navigationType = 0;
};

enum class PMNavigationPolicy {
    Use,          // the page loads it itself
    PassThrough,  // the UI process decides
};

// The callbacks below are installed on a page and removed by installing
// nullptr; the page does not own them.
class PMPageLoaderClient {
public:
    virtual ~PMPageLoaderClient() = default;
    virtual void didStartProvisionalLoadForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame) = 0;
    virtual void didFinishDocumentLoadForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame) = 0;
    virtual void didFinishLoadForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame) = 0;
    virtual void didFirstLayoutForFrame(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame) = 0;
};

class PMResourceLoadClient {
public:
    virtual ~PMResourceLoadClient() = default;
    virtual void didInitiateLoadForResource(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame, uint64_t resourceIdentifier) = 0;
    virtual void didFinishLoadForResource(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame, uint64_t resourceIdentifier) = 0;
    virtual void didFailLoadForResource(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame, uint64_t resourceIdentifier) = 0;
};

class PMNavigationPolicyClient {
public:
    virtual ~PMNavigationPolicyClient() = default;
    virtual PMNavigationPolicy decidePolicyForNavigationAction(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame, const PMNavigationAction& action) = 0;
};

class PMPage {
public:
    virtual ~PMPage() = default;
    virtual std::shared_ptr<PMFrame> mainFrame() = 0;
    virtual void setPageLoaderClient(PMPageLoaderClient* client) = 0;
    virtual void setResourceLoadClient(PMResourceLoadClient* client) = 0;
    virtual void setNavigationPolicyClient(PMNavigationPolicyClient* client) = 0;
};

// What the engine creates for each page of the process.
class PMBrowserContextController {
public:
    virtual ~PMBrowserContextController() = default;
    virtual std::shared_ptr<PMPage> page() = 0;
};
