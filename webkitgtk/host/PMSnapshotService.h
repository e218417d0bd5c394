#pragma once
// The extension asks for snapshots with a bridge message; the UI side holds
// the only snapshot call, so it draws the document and replies with pixels.
typedef struct _WebKitWebView WebKitWebView;
typedef struct _WebKitUserMessage WebKitUserMessage;

// Takes the snapshot the message asks for and replies to it, later.
void PMAnswerSnapshotRequest(WebKitWebView* view, WebKitUserMessage* request);
