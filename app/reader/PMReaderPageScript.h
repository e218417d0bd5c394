#pragma once
// The reader's script in every page: lays the chapter out in columns of the
// view's width (with page margins) and turns pages by scrolling
// horizontally by one width. It defines PMReader in the page:
//   PMReader.show(target)  lays the page out again and shows one page of it:
//       {"page": i} (-1 the last), or {"path": "/4/2/1:10"} the page that
//       holds that position (a CFI's part after "!");
//   PMReader.state()  where the page stands.
// Both answer JSON text: {"page": i, "count": n, "path": "/4/2/1:10"}, the
// path the first text that is visible on the page (empty without text).
// The page clean-up's own column layout is followed by the reader's.
#include <string>

typedef struct _WebKitWebView WebKitWebView;

void PMInstallReaderPageScript(WebKitWebView* view);

// The script that shows `target` (a JSON object as above) and answers the state.
std::string PMReaderShowScript(const std::string& targetJSON);
