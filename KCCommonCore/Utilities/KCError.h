#pragma once
// The one error value of the system: which subsystem (domain), its code
// there, the sentence a person reads, and details for a caller that wants
// more. One convention everywhere: an operation that can fail answers an
// absent result (nothing, nullptr or false), fills in the KCError* its caller
// passed (null when the caller does not care) and logs what a person looking
// into it needs. Nothing is thrown. Each header says in one line
// ("Errors: ...") which of its operations can fail and how.
#include "KCValue.h"

#include <cstdint>
#include <string>
#include <utility>

struct KCError {
    KCError() = default;
    KCError(std::string domain, int64_t code, std::string message, KCDictionary details = {})
        : domain(std::move(domain)), code(code), message(std::move(message)), details(std::move(details)) {}

    std::string domain;
    int64_t code = 0;
    std::string message;
    KCDictionary details;

    // Error Domain=<domain> Code=<code> "<message>": the text log lines print.
    std::string description() const;
};

// Hands `value` to the caller when it asked for it; answers false, so that
// call sites can `return KCSetError(error, ...)`.
bool KCSetError(KCError* error, KCError value);

// Domain of errors whose code is an errno value.
extern const char* const KCPOSIXErrorDomain;  // "KCPOSIXErrorDomain"

// An error for errno value `code`, its message "<what>: <strerror>".
KCError KCPOSIXError(int code, const std::string& what);
