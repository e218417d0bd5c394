#pragma once
// Unpacking an EPUB's zip container without trusting it: entry names may not
// leave the destination (absolute paths, ".." components, links), and the
// entry count and the bytes actually written are capped, whatever sizes the
// central directory declares.
// Errors: PMUnpackArchive answers false and fills *error (PMBookErrorDomain).
#include "Utilities/KCError.h"

#include <cstdint>
#include <string>

struct PMUnpackLimits {
    uint64_t maxEntries = 20000;
    uint64_t maxTotalBytes = uint64_t(1) << 30;  // 1 GiB
};

// Extracts every entry of `archivePath` into the existing, empty directory
// `destination`. On failure the directory may hold part of the book; the
// caller removes it.
bool PMUnpackArchive(const std::string& archivePath, const std::string& destination, const PMUnpackLimits& limits, KCError* error);

// The entry name as a safe relative path ("OEBPS/a.xhtml"), or empty when it
// is absolute, has a ".." or "." component, a backslash, or an empty component.
// A trailing "/" (a directory entry) is dropped.
std::string PMSafeEntryPath(const std::string& name);
