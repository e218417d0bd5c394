#include "PMNavigationRule.h"

#include "Sharing/KCURLAdditions.h"

PMNavigationPolicy PMNavigationPolicyForAction(const PMNavigationAction& action)
{
    if (!action.requestURL)
        return PMNavigationPolicy::Use;
    const KCURL& url = *action.requestURL;
    if (url.absoluteString() == "about:blank")
        return PMNavigationPolicy::Use;
    const std::string& scheme = url.scheme();
    auto type = static_cast<PMNavigationType>(action.navigationType);
    bool fileLink = scheme == "file" && (type == PMNavigationType::LinkClicked || type == PMNavigationType::Other);
    if (KCURLAdditions::supportedPagemoorURLSchemes().contains(scheme) || scheme == "readaloud" || scheme == "warn" || fileLink)
        return PMNavigationPolicy::PassThrough;
    return KCURLAdditions::ISBNForURI(url) ? PMNavigationPolicy::PassThrough : PMNavigationPolicy::Use;
}
