#pragma once
// The error value of the object store: a domain, a code and a message.
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
};

struct KCStoreError {
    std::string domain;
    int64_t code = 0;
    std::string message;

    // "Error Domain=... Code=... \"message\"", the text a log line prints.
    std::string description() const;
};

// Fills *error when the caller asked for it; answers false so call sites can return it.
bool KCSetStoreError(KCStoreError* error, int64_t code, std::string message, const char* domain = KCStoreErrorDomain);
