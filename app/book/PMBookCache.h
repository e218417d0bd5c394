#pragma once
// Where opened books are unpacked. Each .epub file gets its own directory,
// named after a digest of the file's absolute path, size and modification
// time, so a changed file is unpacked afresh and an unchanged one is reused.
// A book is unpacked into a temporary directory beside its final one and
// renamed into place when complete: a crash never leaves half a book.
// Errors: PMUnpackedBookDirectory answers nothing and fills *error (PMBookErrorDomain).
#include "PMBookArchive.h"

#include <optional>
#include <string>

// Environment variable naming the cache directory.
extern const char* const PMCacheDirectoryEnvironmentVariable;  // "PAGEMOOR_CACHE_DIR"

// The given directory, else $PAGEMOOR_CACHE_DIR, else
// $XDG_CACHE_HOME/pagemoor/books, else $HOME/.cache/pagemoor/books.
std::string PMBookCacheDirectory(const std::optional<std::string>& requested);

// The directory holding the unpacked book, unpacking it first when needed.
std::optional<std::string> PMUnpackedBookDirectory(const std::string& epubPath, const std::string& cacheDirectory,
    const PMUnpackLimits& limits, KCError* error);
