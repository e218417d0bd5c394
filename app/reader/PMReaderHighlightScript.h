#pragma once
// The reader's highlight script in every page, next to the page script. It
// defines PMHighlights in the page:
//   PMHighlights.find(text)  selects the first occurrence of the text within
//       one text node and answers JSON {"start": path, "end": path, "text",
//       "blockText": the text of its block, "offset": where the text starts in
//       it, "chapterOffset": where it starts in the chapter's text (UTF-16
//       units), "page": the label of the page break before it or null},
//       or null;
//   PMHighlights.draw(list, night)  sets the night style sheet on or off and
//       draws the list [{"uuid", "start", "end", "color", "textColor",
//       "underline"}] as the page's highlights (paths as PMReader's).
// A click on a drawn highlight posts {"uuid", "x", "y", "width", "height"}
// (the clicked line of it, in the page's coordinates) to the
// "pagemoorHighlight" script message handler (PMHighlightMessageHandler).
#include <string>

typedef struct _WebKitWebView WebKitWebView;

inline constexpr const char* PMHighlightMessageHandler = "pagemoorHighlight";

void PMInstallReaderHighlightScript(WebKitWebView* view);

// Expressions for the page: the find and draw calls above.
std::string PMReaderFindScript(const std::string& text);
std::string PMReaderDrawScript(const std::string& listJSON, bool night);
