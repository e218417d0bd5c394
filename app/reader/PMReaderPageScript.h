#pragma once
// The reader's script in every page: lays the chapter out in columns of the
// view's width (with page margins) and turns pages by scrolling
// horizontally by one width. It defines PMReader in the page:
//   PMReader.show(target)  lays the page out again and shows one page of it:
//       {"page": i} (-1 the last), or {"path": "/4/2/1:10"} the page that
//       holds that position (a CFI's part after "!");
//   PMReader.state()  where the page stands;
//   PMReader.pathOf(node, offset), PMReader.positionOf(path)  a text
//       position's path and back ({node, offset}).
// Both answer JSON text: {"page": i, "count": n, "path": "/4/2/1:10",
// "rightToLeft": false}, the path the first text that is visible on the
// page (empty without text). When the view's size changes, the page is laid
// out again at the text that was shown and the new state is posted to the
// "pagemoorReader" script message handler (PMReaderStateMessageHandler).
// The page clean-up's own column layout is followed by the reader's.
#include <string>

typedef struct _WebKitWebView WebKitWebView;

inline constexpr const char* PMReaderStateMessageHandler = "pagemoorReader";

void PMInstallReaderPageScript(WebKitWebView* view);
// A script of the reader's in every page's top frame, run at the document's
// start after those added before it.
void PMAddReaderPageScript(WebKitWebView* view, const char* source);

// The script that shows `target` (a JSON object as above) and answers the state.
std::string PMReaderShowScript(const std::string& targetJSON);
// The targets as JSON: {"page": i} and {"path": "…"}.
std::string PMReaderPageTarget(int page);
std::string PMReaderPathTarget(const std::string& path);
