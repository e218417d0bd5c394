#pragma once
// Errors of opening a book.
#include "Utilities/KCError.h"

#include <string>

extern const char* const PMBookErrorDomain;  // "PMBookErrorDomain"

enum class PMBookErrorCode : int64_t {
    FileUnreadable = 1,   // the .epub file cannot be opened or read
    BrokenArchive = 2,    // not a zip archive, or an entry that cannot be read
    UnsafeArchive = 3,    // entry names or links that would leave the book's directory
    ArchiveTooLarge = 4,  // more entries or more bytes than the limits allow
    MissingFile = 5,      // container.xml or the package document is absent
    MalformedXML = 6,     // a required XML document cannot be parsed or lacks its root
    CacheUnavailable = 7, // the cache directory cannot be created or written
    NotAnEPUB = 8,        // the file's name says it is another kind of document (a PDF)
};

KCError PMBookError(PMBookErrorCode code, std::string description);
