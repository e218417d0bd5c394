#pragma once
// Resource loads end only where the UI side can see them: every load the
// view starts, and how it ends, is told to the extension as a bridge message
// ("PMBridge.Resource*", body {"identifier": n}), one end per load.
#include <cstdint>
#include <functional>

typedef struct _WebKitWebView WebKitWebView;

using PMResourceMessageSender = std::function<void(const char* name, uint64_t identifier)>;

// Numbers the view's resource loads from 1 and sends their start and end.
void PMForwardResourceLoads(WebKitWebView* view, PMResourceMessageSender send);
