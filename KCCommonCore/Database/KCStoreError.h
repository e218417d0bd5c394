#pragma once
// The object store's error domains and codes.
#include "Utilities/KCError.h"

#include <cstdint>
#include <string>

inline constexpr const char* KCStoreErrorDomain = "KCStoreErrorDomain";
inline constexpr const char* KCSQLiteErrorDomain = "KCSQLiteErrorDomain";

enum KCStoreErrorCode : int64_t {
    KCStoreErrorInvalidModel = 1,
    KCStoreErrorCannotOpen = 2,
    KCStoreErrorNotAStore = 3,
    KCStoreErrorIncompatibleVersion = 4,
    KCStoreErrorMigrationRequired = 5,
    KCStoreErrorNoStore = 6,
    KCStoreErrorWrongThread = 7,
    KCStoreErrorUnknownEntity = 8,
    KCStoreErrorUnknownKey = 9,
    KCStoreErrorInvalidPredicate = 10,
    KCStoreErrorInvalidFetch = 11,
    KCStoreErrorObjectDeleted = 12,
    KCStoreErrorInvalidValue = 13,
    KCStoreErrorDamaged = 14,
};

// KCSetError with a store error.
bool KCSetStoreError(KCError* error, int64_t code, std::string message, const char* domain = KCStoreErrorDomain);
