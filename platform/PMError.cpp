#include "PMError.h"

#include "Utilities/KCFormat.h"

#include <cstring>

const char* const PMPOSIXErrorDomain = "PMPOSIXErrorDomain";

std::string PMError::description() const
{
    return KCStringWithFormat("%@ (%@ error %lld)", localizedDescription, domain, static_cast<long long>(code));
}

PMError PMPOSIXError(int code, const std::string& what)
{
    return {PMPOSIXErrorDomain, code, what + ": " + std::strerror(code)};
}
