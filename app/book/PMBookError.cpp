#include "PMBookError.h"

const char* const PMBookErrorDomain = "PMBookErrorDomain";

KCError PMBookError(PMBookErrorCode code, std::string description)
{
    return {PMBookErrorDomain, static_cast<int64_t>(code), std::move(description)};
}
