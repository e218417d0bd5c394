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
//   PMHighlights.selectText(text)  selects the text's first occurrence and
//       offers it as a mouse selection would; false when there is none.
// Text selected with the mouse (within text nodes) posts the same JSON as
// find with its last line's box {"x", "y", "width", "height"} to the
// "pagemoorSelection" script message handler (PMSelectionMessageHandler).
// A click on a drawn highlight posts {"uuid", "x", "y", "width", "height"}
// (the clicked line of it, in the page's coordinates) to the
// "pagemoorHighlight" script message handler (PMHighlightMessageHandler).
#include <string>

typedef struct _WebKitWebView WebKitWebView;

inline constexpr const char* PMHighlightMessageHandler = "pagemoorHighlight";
inline constexpr const char* PMSelectionMessageHandler = "pagemoorSelection";

void PMInstallReaderHighlightScript(WebKitWebView* view);

// Expressions for the page: the find, selectText and draw calls above.
std::string PMReaderFindScript(const std::string& text);
std::string PMReaderSelectTextScript(const std::string& text);
std::string PMReaderDrawScript(const std::string& listJSON, bool night);
