#pragma once
// The extension asks for snapshots with a bridge message; the UI side holds
// the only snapshot call, so it draws the document and replies with pixels.
// The engine refuses textures past a size, so the document is drawn a view
// at a time: the page is scrolled to each piece and its visible region drawn
// and copied into the image. What the drawing holds besides the finished
// image is one view-sized texture and its copy, whatever the document's
// length; the image itself is bounded by PMSnapshotMaximumPixels. Elements
// fixed to the viewport are drawn once, where they stand at the document's top.
#include <functional>

typedef struct _WebKitWebView WebKitWebView;
typedef struct _WebKitUserMessage WebKitUserMessage;

// Takes the snapshot the message asks for and replies to it, later. The
// page's scroll position is put back afterwards. `pieceDrawn` is called as
// each piece is done, so a wait can tell a long document from a stuck one.
void PMAnswerSnapshotRequest(WebKitWebView* view, WebKitUserMessage* request, std::function<void()> pieceDrawn);
