#pragma once
// The social networks' web share pages: the address of the page that posts
// a text and a link, opened in the default browser.
// Errors: PMOpenWebSharePage fails when no browser takes the address.
#include "Utilities/KCError.h"

#include <string>
#include <string_view>

// The share page for a social activity type with the text (UTF-8) and the
// link, percent-encoded; empty for other types, and for a network that
// needs a link when there is none.
std::string PMWebSharePageURL(std::u16string_view activityType, const std::string& text, const std::string& link);

bool PMOpenWebSharePage(const std::string& url, KCError* error);
