#pragma once
// The process-wide diagnostic logger. Every line carries a timestamp, the
// process name, the process id and the kernel thread id; output goes to
// standard output, to an auxiliary file, or both. Any thread may log: each
// line is written by a single write, so lines never interleave mid-line.
#include "KCFormat.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

extern const char* const KCLogFilter;            // "KCLogFilter"
extern const char* const KCLogRuntimeOverride;   // "KCLogRuntimeOverride"
extern const char* const KCLogRuntimeOverridePattern;

#include <unicode/uversion.h>
U_NAMESPACE_BEGIN
class RegexPattern;
U_NAMESPACE_END

// "YYYY-MM-dd HH:mm:ss.SSS" in local time; YYYY is the week-based year.
std::string KCTimeStamp();

class KCLogger {
public:
    static KCLogger* sharedLogger();

    // Reads the controls from the environment, as the shared logger does.
    KCLogger();
    ~KCLogger();
    KCLogger(const KCLogger&) = delete;
    KCLogger& operator=(const KCLogger&) = delete;

    std::optional<std::string> filter() const;
    void setFilter(std::optional<std::string> filter);
    std::string runtimeOverride() const;
    void setRuntimeOverride(std::string runtimeOverride);
    void addRuntimeOverride(std::string_view name);
    void removeRuntimeOverride(std::string_view name);

    std::optional<std::string> auxPath() const;
    void setAuxPath(std::optional<std::string> path);
    bool logTofileOnly() const { return m_logTofileOnly.load(); }
    void setLogToFileOnly(bool flag) { m_logTofileOnly.store(flag); }

    template <typename... Args>
    void logFile(const char* sourcePath, int lineNumber, const char* format, const Args&... args)
    {
        logString(prefixedMessage(sourcePath, lineNumber, format ? std::optional<std::string>(KCStringWithFormat(format, args...)) : std::nullopt));
    }
    template <typename... Args>
    void logFunction(const char* function, const char* format, const Args&... args)
    {
        logString(KCStringWithFormat("%s %@", function ? function : "", format ? KCStringWithFormat(format, args...) : std::string("<nil>")));
    }
    void logString(std::string_view message);

    bool shouldOverrideCondition(std::string_view condition, std::string_view sourcePath) const;

    static const char* rolledLogPrefix() { return "Rolled-"; }
    static void rollLogPath(const std::string& path, uint64_t maxSize);
    static void deleteRolledLogsForLogPath(const std::string& path, double maxAge);

    int pid() const { return m_pid; }
    const std::string& procName() const { return m_procName; }

private:
    static std::string prefixedMessage(const char* sourcePath, int lineNumber, const std::optional<std::string>& message);

    mutable std::mutex m_lock;  // guards the strings and the file descriptor
    std::optional<std::string> m_auxPath;
    int m_fileDescriptor = -1;
    std::optional<std::string> m_filter;
    std::string m_runtimeOverride;
    int m_pid = 0;
    std::string m_procName;
    std::atomic<bool> m_logTofileOnly {false};
    std::unique_ptr<icu::RegexPattern> m_runtimeOverrideRegex;
};

// Logs with the calling file and line: KCLog("Opened %@", path).
#define KCLog(...) KCLogger::sharedLogger()->logFile(__FILE__, __LINE__, __VA_ARGS__)
