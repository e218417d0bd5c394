#pragma once
// The plug-in's way into a page's scripts: evaluate a script, call a named
// page function with native arguments, and give the page the native
// functions "PMSearchInsensitively" and "PMConsoleLog". All work on the
// script context of the page's main frame, and none leaves behind or removes
// an exception that the page's own code might look at.
#include "Utilities/KCValue.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class PMEpubWebProcessPlugIn;
class PMPage;

// The completion value as a string; nothing when the script threw or the
// page has no script context. An exception pending before the call is
// logged again and stays pending.
std::optional<std::u16string> executeJavaScriptInPage(std::u16string_view script, PMPage& page);

// Evaluates `expression` to a function and calls it, without a receiver,
// with the arguments. The call's result as a string; nothing when the call
// did not happen.
std::optional<std::u16string> executeJavaScriptFuncWithArgsInPage(std::u16string_view expression, const KCArray& arguments, PMPage& page);

void setNativeBridgingFunctionsInPage(PMEpubWebProcessPlugIn& plugIn, PMPage& page);

// What the page's "PMSearchInsensitively"(text, search, start) answers: the
// start of the first case-, diacritic- and width-insensitive match at or
// after `start`, or -1. A start that is not a number, NaN, or the not-found
// marker searches the whole text; a start past the end finds nothing (logged).
int64_t PMSearchTextInsensitively(std::u16string_view text, std::u16string_view search, const KCValue& start);
