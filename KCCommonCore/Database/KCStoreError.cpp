#include "KCStoreError.h"

#include "Utilities/KCFormat.h"

std::string KCStoreError::description() const
{
    return KCStringWithFormat("Error Domain=%@ Code=%lld \"%@\"", domain, static_cast<long long>(code), message);
}

bool KCSetStoreError(KCStoreError* error, int64_t code, std::string message, const char* domain)
{
    if (error)
        *error = KCStoreError {domain, code, std::move(message)};
    return false;
}
