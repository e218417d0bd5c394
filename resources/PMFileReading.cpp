#include "PMFileReading.h"

#include "Utilities/KCURL.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct FileDescriptor {
    int fd;
    ~FileDescriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

KCError readError(int code, const std::string& path)
{
    return KCPOSIXError(code, "Could not read the book file \u201C" + KCLastPathComponent(path) + "\u201D");
}

} // namespace

std::optional<KCData> PMReadWholeFile(const std::string& path, KCError* error)
{
    FileDescriptor file {::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    struct stat status {};
    if (file.fd < 0 || ::fstat(file.fd, &status) != 0) {
        KCSetError(error, readError(errno, path));
        return std::nullopt;
    }
    if (S_ISDIR(status.st_mode)) {
        KCSetError(error, readError(EISDIR, path));
        return std::nullopt;
    }
    // The size is a hint: the file may change while it is read. Past the
    // expected end, read into a small buffer so that an unchanged file is
    // never reallocated.
    KCData data(status.st_size > 0 ? static_cast<size_t>(status.st_size) : 0);
    size_t filled = 0;
    uint8_t overflow[16 * 1024];
    for (;;) {
        bool inBuffer = filled < data.size();
        uint8_t* into = inBuffer ? data.data() + filled : overflow;
        size_t room = inBuffer ? data.size() - filled : sizeof(overflow);
        ssize_t count = ::read(file.fd, into, room);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            KCSetError(error, readError(errno, path));
            return std::nullopt;
        }
        if (count == 0)
            break;
        if (!inBuffer)
            data.insert(data.end(), overflow, overflow + count);
        filled += static_cast<size_t>(count);
    }
    data.resize(filled);
    return data;
}
