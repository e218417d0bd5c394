#pragma once
// Shared by the archived forms of the search filters.
#include <cstdint>

inline uint64_t KCLoadLittleEndian(const uint8_t* bytes)
{
    uint64_t value = 0;
    for (int i = 7; i >= 0; --i)
        value = value << 8 | bytes[i];
    return value;
}

inline void KCStoreLittleEndian(uint8_t* out, uint64_t value)
{
    for (int i = 0; i < 8; ++i)
        out[i] = static_cast<uint8_t>(value >> (8 * i));
}

// Makes the unarchiver know KCBloomFilter, KCDocumentFragmentFilter and
// KCLibraryFragmentFilter. Idempotent and thread-safe; the filters'
// unarchiving helpers call it, and so must anyone who unarchives an archive
// holding them by other means.
void KCRegisterSearchCodingClasses();
