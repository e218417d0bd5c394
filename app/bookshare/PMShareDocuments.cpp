#include "PMShareDocuments.h"

#include "sharing/TNAnnotationActivityItemProviders.h"

std::optional<std::u16string> PMSharePrintDocument(KCActivityController& controller)
{
    if (auto group = PMShareDocumentOf<TNAnnotationGroupPrintActivityItemProvider>(controller))
        return group;
    return PMShareDocumentOf<TNAnnotationPrintActivityItemProvider>(controller);
}

bool PMPrintShare(KCActivityController& controller, PMSharingService& service)
{
    auto document = PMSharePrintDocument(controller);
    if (!document)
        return false;
    service.setDelegate(&controller);
    service.performWithItems({KCValue(*document)});
    return true;
}

void PMCopyShare(KCActivityController& controller, PMSharingService& clipboard)
{
    PMShareItems written(controller.activityItems().begin(), controller.activityItems().end());
    if (auto html = PMShareDocumentOf<TNAnnotationGroupHTMLActivityItemProvider>(controller))
        written.push_back(KCValue(*html));
    clipboard.setDelegate(&controller);
    clipboard.performWithItems(written);
}
