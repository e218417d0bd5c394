// The snapshot task: an image of the loaded page that covers the requested
// size, optionally clipped to the page's declared viewport.
#include "PMEpubWebProcessPlugIn.h"
#include "PMScriptBridge.h"
#include "PMViewportAttributes.h"
#include "Utilities/KCLogger.h"

#include <algorithm>
#include <cmath>

KCSize PMEpubWebProcessPlugIn::p_viewportSizeForPage(PMPage& page, const KCSize& outerSize)
{
    auto attributes = PMViewportAttributes::viewportAttributesWithJavaScriptResult(executeJavaScriptInPage(PMViewportAttributes::javaScript(), page));
    // {0, 0} when nothing was declared: the caller keeps the page bounds.
    return attributes ? attributes->viewportSizeForOuterSize(outerSize) : KCSize {};
}

void PMEpubWebProcessPlugIn::sendSnapshotOfPage(const std::shared_ptr<PMPage>& page, const std::shared_ptr<PMFrame>& frame)
{
    const KCSize requested = m_snapshotSize;
    KCRect bounds = frame ? frame->contentBounds() : KCRect {};
    if (m_snapshotViewportOnly && page) {
        KCSize viewport = p_viewportSizeForPage(*page, requested);
        // A zero keeps the content bound; anything else, NaN included, replaces it.
        if (viewport.width != 0)
            bounds.size.width = viewport.width;
        if (viewport.height != 0)
            bounds.size.height = viewport.height;
    }
    // Cover the requested size in both directions.
    std::optional<KCData> png;
    double scale = std::max(requested.height / bounds.size.height, requested.width / bounds.size.width);
    if (!frame || !std::isfinite(scale) || scale <= 0) {
        KCLog("No snapshot of page %p: scale %f for bounds %f x %f", static_cast<const void*>(page.get()), scale, bounds.size.width, bounds.size.height);
    } else if (std::optional<KCImage> image = frame->snapshotOfRect(bounds, scale)) {
        png = image->PNGData();
    }
    sendMessageWithName(PMEpubWebProcessPlugInMessageSnapshotTask, PMEncodeSnapshotReply(m_documentIndex, std::move(png)));
}
