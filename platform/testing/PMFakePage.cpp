#include "PMFakePage.h"

std::optional<KCImage> PMFakeFrame::snapshotOfRect(const KCRect& rect, double scale)
{
    m_snapshotRequests.push_back({rect, scale});
    return m_snapshotImage;
}

void PMFakePage::play(std::initializer_list<PMFakeLoadStep> steps)
{
    for (const auto& step : steps)
        play(step);
}

void PMFakePage::play(const PMFakeLoadStep& step)
{
    std::shared_ptr<PMPage> page = shared_from_this();
    std::shared_ptr<PMFrame> frame = m_mainFrame;
    using Kind = PMFakeLoadStep::Kind;
    switch (step.kind) {
    case Kind::ProvisionalLoadStarted:
    case Kind::DocumentLoadFinished:
    case Kind::LoadFinished:
    case Kind::FirstLayout: {
        PMPageLoaderClient* client = m_pageLoaderClient;
        if (!client)
            return;
        if (step.kind == Kind::ProvisionalLoadStarted)
            client->didStartProvisionalLoadForFrame(page, frame);
        else if (step.kind == Kind::DocumentLoadFinished)
            client->didFinishDocumentLoadForFrame(page, frame);
        else if (step.kind == Kind::LoadFinished)
            client->didFinishLoadForFrame(page, frame);
        else
            client->didFirstLayoutForFrame(page, frame);
        return;
    }
    case Kind::ResourceInitiated:
    case Kind::ResourceFinished:
    case Kind::ResourceFailed: {
        PMResourceLoadClient* client = m_resourceLoadClient;
        if (!client)
            return;
        if (step.kind == Kind::ResourceInitiated)
            client->didInitiateLoadForResource(page, frame, step.resourceIdentifier);
        else if (step.kind == Kind::ResourceFinished)
            client->didFinishLoadForResource(page, frame, step.resourceIdentifier);
        else
            client->didFailLoadForResource(page, frame, step.resourceIdentifier);
        return;
    }
    }
}

PMNavigationPolicy PMFakePage::decidePolicy(const PMNavigationAction& action)
{
    if (!m_navigationPolicyClient)
        return PMNavigationPolicy::Use;
    return m_navigationPolicyClient->decidePolicyForNavigationAction(shared_from_this(), m_mainFrame, action);
}
