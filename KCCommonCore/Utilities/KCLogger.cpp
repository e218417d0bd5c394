#include "KCLogger.h"

#include "KCStringConversion.h"
#include "KCURL.h"

#include <unicode/regex.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

const char* const KCLogFilter = "KCLogFilter";
const char* const KCLogRuntimeOverride = "KCLogRuntimeOverride";
const char* const KCLogRuntimeOverridePattern = "KCLogRuntimeOverridePattern";

namespace {

void writeAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
}

// Empty text is contained nowhere: an empty condition or file name never
// switches logging on.
bool containsCaseInsensitive(std::string_view haystack, std::string_view needle)
{
    if (needle.empty())
        return false;
    icu::UnicodeString h = icu::UnicodeString::fromUTF8(icu::StringPiece(haystack.data(), static_cast<int32_t>(haystack.size())));
    icu::UnicodeString n = icu::UnicodeString::fromUTF8(icu::StringPiece(needle.data(), static_cast<int32_t>(needle.size())));
    h.foldCase();
    n.foldCase();
    return h.indexOf(n) >= 0;
}

bool regexFindsIn(const icu::RegexPattern& pattern, std::string_view text)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString input = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    std::unique_ptr<icu::RegexMatcher> matcher(pattern.matcher(input, status));
    return U_SUCCESS(status) && matcher && matcher->find(status) && U_SUCCESS(status);
}

std::string processName()
{
    std::error_code error;
    auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string("pagemoor") : executable.filename().string();
}

} // namespace

std::string KCTimeStamp()
{
    // One formatter per thread: creating one per call costs more than the line.
    // Lines logged within the same millisecond reuse the text formatted last.
    thread_local std::unique_ptr<icu::SimpleDateFormat> formatter = [] {
        UErrorCode status = U_ZERO_ERROR;
        auto made = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString(u"YYYY-MM-dd HH:mm:ss.SSS"), icu::Locale::getRoot(), status);
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    thread_local int64_t lastMillisecond = -1;
    thread_local std::string lastText;
    if (!formatter)
        return {};
    auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    int64_t millisecond = std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
    if (millisecond == lastMillisecond)
        return lastText;
    icu::UnicodeString text;
    formatter->format(static_cast<UDate>(millisecond), text);
    lastText.clear();
    text.toUTF8String(lastText);
    lastMillisecond = millisecond;
    return lastText;
}

KCLogger* KCLogger::sharedLogger()
{
    static KCLogger* logger = new KCLogger();
    return logger;
}

KCLogger::KCLogger()
    : m_pid(static_cast<int>(::getpid()))
    , m_procName(processName())
{
    if (const char* filter = std::getenv(KCLogFilter))
        m_filter = filter;
    if (const char* runtimeOverride = std::getenv(KCLogRuntimeOverride))
        m_runtimeOverride = runtimeOverride;
    if (const char* pattern = std::getenv(KCLogRuntimeOverridePattern)) {
        UErrorCode status = U_ZERO_ERROR;
        UParseError parseError {};
        m_runtimeOverrideRegex.reset(icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern), 0, parseError, status));
        if (U_FAILURE(status)) {
            m_runtimeOverrideRegex.reset();
            // The shared logger may not exist yet while it is being built: log through this one.
            logFile(__FILE__, 74, "Invalid RegexPattern: %@ -- Error: %@", pattern, u_errorName(status));
        }
    }
}

KCLogger::~KCLogger()
{
    if (m_fileDescriptor >= 0)
        ::close(m_fileDescriptor);
}

std::optional<std::string> KCLogger::filter() const
{
    std::lock_guard lock(m_lock);
    return m_filter;
}

void KCLogger::setFilter(std::optional<std::string> filter)
{
    std::lock_guard lock(m_lock);
    m_filter = std::move(filter);
}

std::string KCLogger::runtimeOverride() const
{
    std::lock_guard lock(m_lock);
    return m_runtimeOverride;
}

void KCLogger::setRuntimeOverride(std::string runtimeOverride)
{
    std::lock_guard lock(m_lock);
    m_runtimeOverride = std::move(runtimeOverride);
}

void KCLogger::addRuntimeOverride(std::string_view name)
{
    std::lock_guard lock(m_lock);
    if (m_runtimeOverride.find(name) == std::string::npos)
        m_runtimeOverride.append(name);
}

void KCLogger::removeRuntimeOverride(std::string_view name)
{
    if (name.empty())
        return;
    std::lock_guard lock(m_lock);
    std::string result;
    size_t from = 0;
    for (size_t at; (at = m_runtimeOverride.find(name, from)) != std::string::npos; from = at + name.size())
        result.append(m_runtimeOverride, from, at - from);
    result.append(m_runtimeOverride, from);
    m_runtimeOverride = std::move(result);
}

std::optional<std::string> KCLogger::auxPath() const
{
    std::lock_guard lock(m_lock);
    return m_auxPath;
}

void KCLogger::setAuxPath(std::optional<std::string> path)
{
    std::lock_guard lock(m_lock);
    m_auxPath = std::move(path);
    if (m_fileDescriptor >= 0) {
        ::close(m_fileDescriptor);
        m_fileDescriptor = -1;
    }
    if (m_auxPath)
        m_fileDescriptor = ::open(m_auxPath->c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
}

std::string KCLogger::prefixedMessage(const char* sourcePath, int lineNumber, const std::optional<std::string>& message)
{
    std::string file = KCLastPathComponent(sourcePath ? sourcePath : "");
    return message ? KCStringWithFormat("[%@:%d] %@", file, lineNumber, *message)
                   : KCStringWithFormat("[%@:%d] <nil>", file, lineNumber);
}

void KCLogger::logString(std::string_view message)
{
    std::unique_lock lock(m_lock);
    if (m_filter && message.find(*m_filter) == std::string_view::npos)
        return;
    int fd = m_fileDescriptor;
    bool toStandardOutput = fd < 0 || !m_logTofileOnly.load();
    lock.unlock();

    auto thread = static_cast<unsigned>(::syscall(SYS_gettid));
    std::string line = KCStringWithFormat("%@ %@[%d:%x] %@\n", KCTimeStamp(), m_procName, m_pid, thread, message);
    if (toStandardOutput)
        writeAll(STDOUT_FILENO, line);
    if (fd >= 0) {
        // Hold the lock so that a concurrent setAuxPath cannot close the file under us.
        std::lock_guard writeLock(m_lock);
        if (m_fileDescriptor == fd)
            writeAll(fd, line);
    }
}

bool KCLogger::shouldOverrideCondition(std::string_view condition, std::string_view sourcePath) const
{
    std::string base = KCDeletingPathExtension(KCLastPathComponent(sourcePath));
    std::string overrides = runtimeOverride();
    if (!overrides.empty() && (containsCaseInsensitive(overrides, condition) || containsCaseInsensitive(overrides, base)))
        return true;
    if (!m_runtimeOverrideRegex)
        return false;
    return regexFindsIn(*m_runtimeOverrideRegex, base) || regexFindsIn(*m_runtimeOverrideRegex, condition);
}

void KCLogger::rollLogPath(const std::string& path, uint64_t maxSize)
{
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0)
        return;
    if (static_cast<uint64_t>(info.st_size) < maxSize)
        return;
    std::filesystem::path oldPath(path);
    std::string newName = KCStringWithFormat("%@%@-%@", rolledLogPrefix(), KCTimeStamp(), oldPath.filename().string());
    std::string newPath = (oldPath.parent_path() / newName).string();
    sharedLogger()->logFile(__FILE__, 216, "Rolling Log: %@ -> %@", path, newPath);
    std::error_code ignored;
    std::filesystem::rename(oldPath, newPath, ignored);
}

void KCLogger::deleteRolledLogsForLogPath(const std::string& path, double maxAge)
{
    std::filesystem::path logPath(path);
    std::string name = logPath.filename().string();
    if (name.empty())
        return;  // "dir/" names no log: never sweep every rolled file of a directory
    std::error_code error;
    std::filesystem::directory_iterator entries(logPath.parent_path(), error);
    if (error)
        return;
    double now = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    // Increment with an error code: a directory that changes under us must not throw.
    for (; entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        const auto& entry = *entries;
        std::string entryName = entry.path().filename().string();
        if (!entryName.starts_with(rolledLogPrefix()) || !entryName.ends_with(name))
            continue;
        struct stat info {};
        if (::stat(entry.path().c_str(), &info) != 0)
            continue;
        double modified = static_cast<double>(info.st_mtim.tv_sec) + static_cast<double>(info.st_mtim.tv_nsec) / 1e9;
        if (now - modified >= maxAge) {
            sharedLogger()->logFile(__FILE__, 235, "Deleting Rolled Log: %@", entry.path().string());
            std::error_code ignored;
            std::filesystem::remove(entry.path(), ignored);
        }
    }
}
