#include "PMLinkPolicy.h"

#include "plugin/PMNavigationRule.h"

#include <webkit/webkit.h>

namespace {

gboolean decidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type, gpointer data)
{
    if (type != WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION)
        return FALSE;
    const auto& policy = *static_cast<PMLinkPolicy*>(data);
    WebKitNavigationAction* action = webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    std::string target = uri ? uri : "";
    PMNavigationAction navigation {KCURL::URLWithString(target), static_cast<int64_t>(webkit_navigation_action_get_navigation_type(action))};
    if (PMNavigationPolicyForAction(navigation) == PMNavigationPolicy::Use || policy.currentDocumentURI() == target) {
        webkit_policy_decision_use(decision);
    } else {
        if (policy.handleNavigation)
            policy.handleNavigation(target);
        webkit_policy_decision_ignore(decision);
    }
    return TRUE;
}

} // namespace

void PMInstallLinkPolicy(WebKitWebView* view, PMLinkPolicy policy)
{
    g_signal_connect_data(view, "decide-policy", G_CALLBACK(decidePolicy), new PMLinkPolicy(std::move(policy)),
        [](gpointer data, GClosure*) { delete static_cast<PMLinkPolicy*>(data); }, G_CONNECT_DEFAULT);
}
