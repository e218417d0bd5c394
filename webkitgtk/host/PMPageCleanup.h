#pragma once
// The reader's page clean-up: a user script in every page the view loads
// that defines PMDOMCleanup, whose two functions the plug-in calls at the
// page's loading stages with the book info ({"title", "creator",
// "language", ...}):
//   didFinishDocumentLoad(bookInfo)  the document is parsed: the root element
//       gets the book's language as its lang, and a right-to-left direction
//       for a right-to-left language, when it declares neither; a document
//       without a title takes the book's; the book info is kept as
//       PMDOMCleanup.bookInfo; in pagination mode the page is laid out in
//       columns of the view's width.
//   didFinishLoad(bookInfo)  the page and its resources are in: the columns
//       are laid out again for the view's width as it is now.
// The script runs before the page's own: a page that defines PMDOMCleanup
// itself replaces the reader's.
typedef struct _WebKitWebView WebKitWebView;

void PMInstallPageCleanup(WebKitWebView* view, bool paginationMode);
