#include "KCError.h"

#include "KCFormat.h"

#include <cstring>

const char* const KCPOSIXErrorDomain = "KCPOSIXErrorDomain";

std::string KCError::description() const
{
    return KCStringWithFormat("Error Domain=%@ Code=%lld \"%@\"", domain, static_cast<long long>(code), message);
}

bool KCSetError(KCError* error, KCError value)
{
    if (error)
        *error = std::move(value);
    return false;
}

KCError KCPOSIXError(int code, const std::string& what)
{
    return {KCPOSIXErrorDomain, code, what + ": " + std::strerror(code)};
}
