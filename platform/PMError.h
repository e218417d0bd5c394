#pragma once
// A failure reported across a port: which subsystem (domain), its code there,
// and the sentence a person reads.
#include <cstdint>
#include <string>

struct PMError {
    std::string domain;
    int64_t code = 0;
    std::string localizedDescription;

    // The text "%@" prints in log lines.
    std::string description() const;
};

// Domain of errors whose code is an errno value.
extern const char* const PMPOSIXErrorDomain;  // "PMPOSIXErrorDomain"

// An error for errno value `code`, described as "<what>: <strerror>".
PMError PMPOSIXError(int code, const std::string& what);
