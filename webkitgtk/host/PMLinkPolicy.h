#pragma once
// Navigation on the UI side, decided with the plug-in's own rule: what the
// rule passes through is the reader's to handle (and is not loaded), except
// the document the reader itself is loading.
#include <functional>
#include <string>

typedef struct _WebKitWebView WebKitWebView;

struct PMLinkPolicy {
    std::function<std::string()> currentDocumentURI;
    std::function<void(const std::string& URI)> handleNavigation;  // may be empty
};

void PMInstallLinkPolicy(WebKitWebView* view, PMLinkPolicy policy);
