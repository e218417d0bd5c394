#pragma once
// The search's part of the reader's page script: PMReader.show also takes
//   {"match": "text", "occurrence": k}
// and shows the page of the k-th (from 0) match of the text in the body,
// compared without case and with blanks collapsed (as the search's contexts
// are found), and selects that match. Without so many matches it shows the
// last one; without any, the chapter's first page.
#include <string>

typedef struct _WebKitWebView WebKitWebView;

struct PMReaderSearchResult;

// After PMInstallReaderPageScript.
void PMInstallReaderSearchScript(WebKitWebView* view);

// The page script's target for the result.
std::string PMReaderMatchTarget(const PMReaderSearchResult& result);
