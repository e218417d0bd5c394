#include "PMBookArchive.h"

#include "PMBookError.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"

#include <zip.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct ArchiveCloser {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct EntryCloser {
    void operator()(zip_file_t* entry) const { zip_fclose(entry); }
};

std::string zipErrorText(int code)
{
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    return text;
}

KCError failure(PMBookErrorCode code, const std::string& description)
{
    KCLog("Cannot unpack book: %@", description);
    return PMBookError(code, description);
}

bool isSymbolicLink(zip_t* archive, zip_uint64_t index)
{
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(archive, index, 0, &system, &attributes) != 0)
        return false;
    return system == ZIP_OPSYS_UNIX && ((attributes >> 16) & S_IFMT) == S_IFLNK;
}

// Writes one entry, counting every byte against the archive's budget.
bool extractEntry(zip_t* archive, zip_uint64_t index, const std::string& name, const std::filesystem::path& target,
    uint64_t limit, uint64_t& budget, KCError* error)
{
    std::error_code directoryError;
    std::filesystem::create_directories(target.parent_path(), directoryError);
    if (directoryError) {
        KCSetError(error, failure(PMBookErrorCode::UnsafeArchive, KCStringWithFormat("The entry \u201C%@\u201D cannot be placed: %@", name, directoryError.message())));
        return false;
    }
    std::unique_ptr<zip_file_t, EntryCloser> entry(zip_fopen_index(archive, index, 0));
    if (!entry) {
        KCSetError(error, failure(PMBookErrorCode::BrokenArchive, KCStringWithFormat("The entry \u201C%@\u201D cannot be read: %@", name, zip_strerror(archive))));
        return false;
    }
    int fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0) {
        int code = errno;
        KCSetError(error, failure(code == EEXIST ? PMBookErrorCode::UnsafeArchive : PMBookErrorCode::CacheUnavailable,
            KCStringWithFormat("The entry \u201C%@\u201D cannot be written: %s", name, std::strerror(code))));
        return false;
    }
    std::vector<char> buffer(64 * 1024);
    bool ok = true;
    for (;;) {
        zip_int64_t count = zip_fread(entry.get(), buffer.data(), buffer.size());
        if (count < 0) {
            KCSetError(error, failure(PMBookErrorCode::BrokenArchive, KCStringWithFormat("The entry \u201C%@\u201D is damaged: %@", name, zip_file_strerror(entry.get()))));
            ok = false;
            break;
        }
        if (count == 0)
            break;
        if (static_cast<uint64_t>(count) > budget) {
            KCSetError(error, failure(PMBookErrorCode::ArchiveTooLarge, KCStringWithFormat("The book unpacks to more than the limit of %llu bytes", static_cast<unsigned long long>(limit))));
            ok = false;
            break;
        }
        budget -= static_cast<uint64_t>(count);
        for (const char* from = buffer.data(); count > 0;) {
            ssize_t written = ::write(fd, from, static_cast<size_t>(count));
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0) {
                KCSetError(error, failure(PMBookErrorCode::CacheUnavailable, KCStringWithFormat("The entry \u201C%@\u201D cannot be written: %s", name, std::strerror(errno))));
                ok = false;
                break;
            }
            from += written;
            count -= written;
        }
        if (!ok)
            break;
    }
    ::close(fd);
    return ok;
}

} // namespace

std::string PMSafeEntryPath(const std::string& name)
{
    std::string_view rest = name;
    if (rest.ends_with('/'))
        rest.remove_suffix(1);
    if (rest.empty() || rest.front() == '/' || rest.find('\\') != std::string_view::npos || rest.find('\0') != std::string_view::npos)
        return {};
    if (rest.size() >= 2 && rest[1] == ':')  // a drive letter
        return {};
    for (size_t start = 0; start <= rest.size();) {
        size_t end = rest.find('/', start);
        if (end == std::string_view::npos)
            end = rest.size();
        std::string_view component = rest.substr(start, end - start);
        if (component.empty() || component == "." || component == "..")
            return {};
        start = end + 1;
    }
    return std::string(rest);
}

bool PMUnpackArchive(const std::string& archivePath, const std::string& destination, const PMUnpackLimits& limits, KCError* error)
{
    int openError = 0;
    std::unique_ptr<zip_t, ArchiveCloser> archive(zip_open(archivePath.c_str(), ZIP_RDONLY, &openError));
    if (!archive) {
        PMBookErrorCode code = openError == ZIP_ER_OPEN || openError == ZIP_ER_READ || openError == ZIP_ER_NOENT
            ? PMBookErrorCode::FileUnreadable : PMBookErrorCode::BrokenArchive;
        KCSetError(error, failure(code, KCStringWithFormat("\u201C%@\u201D is not a readable EPUB archive: %@", archivePath, zipErrorText(openError))));
        return false;
    }
    zip_int64_t count = zip_get_num_entries(archive.get(), 0);
    if (count < 0 || static_cast<uint64_t>(count) > limits.maxEntries) {
        KCSetError(error, failure(PMBookErrorCode::ArchiveTooLarge, KCStringWithFormat("The archive has %lld entries; at most %llu are accepted",
            static_cast<long long>(count), static_cast<unsigned long long>(limits.maxEntries))));
        return false;
    }

    // First look at every name and declared size, so that a hostile archive
    // is refused before anything is written.
    struct Entry {
        zip_uint64_t index;
        std::string name;
        std::string path;
        bool isDirectory;
    };
    std::vector<Entry> entries;
    uint64_t declared = 0;
    for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
        zip_stat_t status;
        if (zip_stat_index(archive.get(), index, 0, &status) != 0 || !(status.valid & ZIP_STAT_NAME)) {
            KCSetError(error, failure(PMBookErrorCode::BrokenArchive, KCStringWithFormat("Entry %llu of the archive cannot be read: %@",
                static_cast<unsigned long long>(index), zip_strerror(archive.get()))));
            return false;
        }
        std::string name = status.name;
        std::string path = PMSafeEntryPath(name);
        if (path.empty()) {
            KCSetError(error, failure(PMBookErrorCode::UnsafeArchive, KCStringWithFormat("The archive entry \u201C%@\u201D would be written outside the book", name)));
            return false;
        }
        if (isSymbolicLink(archive.get(), index)) {
            KCSetError(error, failure(PMBookErrorCode::UnsafeArchive, KCStringWithFormat("The archive entry \u201C%@\u201D is a symbolic link", name)));
            return false;
        }
        if (status.valid & ZIP_STAT_SIZE) {
            if (status.size > limits.maxTotalBytes - declared) {
                KCSetError(error, failure(PMBookErrorCode::ArchiveTooLarge, KCStringWithFormat("The archive declares more than the limit of %llu bytes",
                    static_cast<unsigned long long>(limits.maxTotalBytes))));
                return false;
            }
            declared += status.size;
        }
        bool isDirectory = name.ends_with('/');
        entries.push_back({index, std::move(name), std::move(path), isDirectory});
    }

    // The declared sizes may lie: the budget counts what is really written.
    uint64_t budget = limits.maxTotalBytes;
    const std::filesystem::path root(destination);
    for (const Entry& entry : entries) {
        std::filesystem::path target = root / entry.path;
        if (entry.isDirectory) {
            std::error_code directoryError;
            std::filesystem::create_directories(target, directoryError);
            if (directoryError) {
                KCSetError(error, failure(PMBookErrorCode::UnsafeArchive, KCStringWithFormat("The directory \u201C%@\u201D cannot be made: %@", entry.name, directoryError.message())));
                return false;
            }
        } else if (!extractEntry(archive.get(), entry.index, entry.name, target, limits.maxTotalBytes, budget, error)) {
            return false;
        }
    }
    return true;
}
