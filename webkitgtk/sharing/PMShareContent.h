#pragma once
// What a list of share items offers a desktop service, read once: the plain
// text, an HTML body, RTF, and the URLs (file URLs are attachments).
// Strings that begin with "<" are HTML; styled text gives its RTF and its
// text; a pasteboard-writing item gives the values of the types it writes.
#include "platform/PMSharingService.h"

#include <string>
#include <vector>

// The domain of the desktop services' errors.
extern const char* const PMDesktopSharingErrorDomain;  // "PMDesktopSharingErrorDomain"

struct PMShareContent {
    std::string text;  // UTF-8; the texts of several items one per line
    std::string html;  // the first HTML body
    std::string rtf;   // the first RTF
    std::vector<std::string> urls;  // absolute URL strings, in item order

    // File paths of the file URLs.
    std::vector<std::string> filePaths() const;
    // The first URL that is not a file URL; empty when there is none.
    std::string firstLink() const;
};

PMShareContent PMShareContentFromItems(const PMShareItems& items);
