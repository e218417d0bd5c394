#include "PMBookCache.h"

#include "PMBookError.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"

#include <openssl/sha.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>

const char* const PMCacheDirectoryEnvironmentVariable = "PAGEMOOR_CACHE_DIR";

namespace {

namespace fs = std::filesystem;

std::optional<std::string> environment(const char* name)
{
    const char* value = std::getenv(name);
    return value && *value ? std::optional<std::string>(value) : std::nullopt;
}

// Names the unpacked copy of one version of one file.
std::optional<std::string> bookKey(const std::string& epubPath, KCError* error)
{
    std::error_code pathError;
    fs::path absolute = fs::weakly_canonical(fs::absolute(epubPath), pathError);
    struct stat status {};
    int code = 0;
    if (pathError)
        code = pathError.value();
    else if (::stat(absolute.c_str(), &status) != 0)
        code = errno;
    else if (!S_ISREG(status.st_mode))
        code = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    if (code) {
        KCError failure = PMBookError(PMBookErrorCode::FileUnreadable, KCStringWithFormat("\u201C%@\u201D cannot be opened: %s", epubPath, std::strerror(code)));
        KCLog("Cannot open book: %@", failure.description());
        KCSetError(error, std::move(failure));
        return std::nullopt;
    }
    std::string identity = KCStringWithFormat("%@\n%lld\n%lld.%09ld", absolute.string(), static_cast<long long>(status.st_size),
        static_cast<long long>(status.st_mtim.tv_sec), static_cast<long>(status.st_mtim.tv_nsec));
    unsigned char digest[SHA_DIGEST_LENGTH];
    SHA1(reinterpret_cast<const unsigned char*>(identity.data()), identity.size(), digest);
    std::string key;
    for (unsigned char byte : digest)
        key += KCStringWithFormat("%02x", byte);
    return key;
}

KCError cacheError(const std::string& what, const std::string& path, int code)
{
    KCError error = PMBookError(PMBookErrorCode::CacheUnavailable, KCStringWithFormat("%@ \u201C%@\u201D: %s", what, path, std::strerror(code)));
    KCLog("Cannot unpack book: %@", error.description());
    return error;
}

} // namespace

std::string PMBookCacheDirectory(const std::optional<std::string>& requested)
{
    if (requested && !requested->empty())
        return *requested;
    if (auto configured = environment(PMCacheDirectoryEnvironmentVariable))
        return *configured;
    if (auto cacheHome = environment("XDG_CACHE_HOME"))
        return (fs::path(*cacheHome) / "pagemoor" / "books").string();
    return (fs::path(environment("HOME").value_or("/tmp")) / ".cache" / "pagemoor" / "books").string();
}

std::optional<std::string> PMUnpackedBookDirectory(const std::string& epubPath, const std::string& cacheDirectory,
    const PMUnpackLimits& limits, KCError* error)
{
    auto key = bookKey(epubPath, error);
    if (!key)
        return std::nullopt;
    std::error_code fsError;
    fs::create_directories(cacheDirectory, fsError);
    if (fsError) {
        KCSetError(error, cacheError("Cannot create the cache directory", cacheDirectory, fsError.value()));
        return std::nullopt;
    }
    fs::path final = fs::path(cacheDirectory) / *key;
    if (fs::is_directory(fs::symlink_status(final)))
        return final.string();

    std::string pattern = (fs::path(cacheDirectory) / ("." + *key + ".XXXXXX")).string();
    if (!::mkdtemp(pattern.data())) {
        KCSetError(error, cacheError("Cannot create a directory in", cacheDirectory, errno));
        return std::nullopt;
    }
    fs::path temporary = pattern;
    if (!PMUnpackArchive(epubPath, temporary.string(), limits, error)) {
        fs::remove_all(temporary, fsError);
        return std::nullopt;
    }
    if (::rename(temporary.c_str(), final.c_str()) != 0) {
        int code = errno;
        fs::remove_all(temporary, fsError);
        // Another process finished the same book first: use its copy.
        if ((code == EEXIST || code == ENOTEMPTY) && fs::is_directory(fs::symlink_status(final)))
            return final.string();
        KCSetError(error, cacheError("Cannot move the unpacked book to", final.string(), code));
        return std::nullopt;
    }
    return final.string();
}
