#pragma once
// Scripted runs of the reader window: a JSON list of actions, each an object
// named by its first member, played one after another:
//   {"open": N}             the spine document N (from 0) at its first page
//   {"next": K}             K pages on (back when negative)
//   {"find": "text"}        searches the book, lists the results and shows
//                           the first one selected; fails when there is none
//   {"screenshot": "F.png"} the window as drawn, into a PNG file
//   {"highlight": "text", "style": S, "underline": false, "note": "N"}
//                           highlights the text's first occurrence in the
//                           chapter shown (style 1 to 5, by default 3;
//                           underline and note optional)
//   {"select": "text", "style": S, "underline": false, "note": "N"}
//                           selects the text's first occurrence in the
//                           chapter shown as the mouse would, which opens the
//                           popover that offers a highlight; with a style,
//                           underline or note, chooses them there
//   {"night": true}         reads by night (false: by day)
//   {"sidebar": true}       shows the notes sidebar (false: hides it)
//   {"share": "menu"}       opens the popover of the book's newest highlight
//                           on the page shown with its Share menu open, and
//                           prints the menu's titles, "share: TITLE" a line
//   {"export": "F.html"}    writes the book's notes into the file, HTML or
//                           RTF (or text) by its extension (.html, .rtf, .txt)
//   {"scrolled": true}      scrolls the chapter in one column (false: pages)
//   {"quit": true}          stops playing
// What an action prints ("share") goes to play's `output`, standard output
// when it has none.
// Errors: parse answers nothing and fills *error (PMReaderErrorDomain) for
// text that is not such a list, naming the action at fault; play answers
// false with the failing action's reason.
#include "Utilities/KCError.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class PMReaderWindow;

struct PMReaderAction {
    std::string name;
    nlohmann::ordered_json argument;
    nlohmann::ordered_json options;  // the object's other members
};

std::optional<std::vector<PMReaderAction>> PMParseReaderActions(std::string_view json, KCError* error);
using PMReaderActionOutput = std::function<void(const std::string& text)>;
bool PMPlayReaderActions(PMReaderWindow& window, const std::vector<PMReaderAction>& actions, KCError* error,
    PMReaderActionOutput output = {});
