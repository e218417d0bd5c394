#pragma once
// Scripts that the extension itself runs in a page. They leave the context's
// exception slot as they found it, so page code never sees their failures.
#include <optional>
#include <string>

typedef struct _JSCContext JSCContext;

// The completion value as a string; nothing when the script threw (logged).
std::optional<std::string> PMWebKitEvaluateQuietly(JSCContext* context, const char* script);

typedef struct _WebKitWebPage WebKitWebPage;

// The script context of the page's main frame; a new reference.
JSCContext* PMWebKitPageScriptContext(WebKitWebPage* page);
