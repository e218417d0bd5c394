#pragma once
// The book scheme on the UI side. The extension claims a page's requests for
// book files with the plug-in's protocol and moves them to this scheme; here
// the original file URL is loaded with the same protocol, so de-obfuscation,
// MIME types and "PluginError" behave as they do in the plug-in.
#include "platform/PMMessageConnection.h"
#include "Utilities/KCValue.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

typedef struct _WebKitWebContext WebKitWebContext;

struct PMBookConfiguration {
    std::string contentsPath;
    KCDictionary resourceData;
    bool paginationMode = false;
};

// Configures the protocol for the process's one book and serves the scheme
// on the context. "PluginError" reaches `deliver` on a later turn of the main
// loop, as if it had come over the web process's connection.
using PMBookSchemeMessageHandler = std::function<void(const std::string& name, const KCValue& body)>;
void PMRegisterBookScheme(WebKitWebContext* context, const PMBookConfiguration& book, PMBookSchemeMessageHandler deliver);

// "pmbook:///b/x.css" -> "file:///b/x.css"; nothing for another scheme.
std::optional<std::string> PMFileURIForBookURI(const std::string& bookURI);
