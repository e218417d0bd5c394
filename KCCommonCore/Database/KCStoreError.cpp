#include "KCStoreError.h"

bool KCSetStoreError(KCError* error, int64_t code, std::string message, const char* domain)
{
    return KCSetError(error, {domain, code, std::move(message)});
}
