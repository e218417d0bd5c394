#include "Utilities/KCLogger.h"

#include "KCTestFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <set>
#include <thread>
#include <vector>

namespace {

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// The message of a whole log line, or nothing when the line is malformed.
std::optional<std::string> messageOf(const std::string& line, const KCLogger& logger)
{
    static const std::regex shape(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} (.+)\[(\d+):[0-9a-f]+\] (.*)$)");
    std::smatch match;
    if (!std::regex_match(line, match, shape) || match[1] != logger.procName() || match[2] != std::to_string(logger.pid()))
        return std::nullopt;
    return match[3].str();
}

// Each test builds its own logger from a clean environment.
class KCLoggerTest : public testing::Test {
protected:
    // The shared logger of later tests must not see our settings either.
    void SetUp() override { clearEnvironment(); }
    void TearDown() override { clearEnvironment(); }
    static void clearEnvironment()
    {
        for (const char* name : {KCLogFilter, KCLogRuntimeOverride, KCLogRuntimeOverridePattern})
            ::unsetenv(name);
    }

    // A logger that writes to the aux file only.
    void logToFileOnly(KCLogger& logger)
    {
        logger.setAuxPath(scratch.file("aux.log"));
        logger.setLogToFileOnly(true);
    }

    // Messages written to the aux file.
    std::vector<std::string> fileMessages(KCLogger& logger)
    {
        std::vector<std::string> messages;
        for (const auto& line : linesOf(KCReadTestFile(scratch.file("aux.log"))))
            messages.push_back(messageOf(line, logger).value_or("<malformed: " + line + ">"));
        return messages;
    }

    KCScratchDirectory scratch;
};

// The filter keeps only lines containing it, case-sensitively, prefixes included.
TEST_F(KCLoggerTest, FilterAndFileAndFunctionPrefixes)
{
    KCLogger logger;
    logToFileOnly(logger);
    logger.setFilter("KCThing");
    logger.logString("kcthing opened");
    logger.logFile("/src/deep/KCThing.mm", 42, "count %d of %@", 3, std::string("books"));
    logger.logFile("/src/deep/KCThing.mm", 43, nullptr);
    logger.logFunction("-[KCThing run]", "done");
    logger.logFunction("-[KCThing run]", nullptr);
    logger.logFunction("-[Other run]", "dropped");
    EXPECT_EQ(fileMessages(logger), std::vector<std::string>({
        "[KCThing.mm:42] count 3 of books",
        "[KCThing.mm:43] <nil>",
        "-[KCThing run] done",
        "-[KCThing run] <nil>",
    }));
}

TEST_F(KCLoggerTest, RuntimeOverrideListKeepsEachNameOnce)
{
    ::setenv(KCLogRuntimeOverride, "Sync", 1);
    ::setenv(KCLogFilter, "Sync", 1);
    KCLogger logger;
    EXPECT_EQ(logger.filter(), std::optional<std::string>("Sync"));
    EXPECT_EQ(logger.runtimeOverride(), "Sync");
    logger.addRuntimeOverride("Sync");
    EXPECT_EQ(logger.runtimeOverride(), "Sync");
    logger.addRuntimeOverride("Net");
    EXPECT_EQ(logger.runtimeOverride(), "SyncNet");
    logger.removeRuntimeOverride("Sync");
    EXPECT_EQ(logger.runtimeOverride(), "Net");
    logger.addRuntimeOverride("Net");
    logger.addRuntimeOverride("DB");
    logger.setRuntimeOverride("NetDBNet");
    logger.removeRuntimeOverride("Net");
    EXPECT_EQ(logger.runtimeOverride(), "DB");
}

TEST_F(KCLoggerTest, OverridesMatchConditionOrFileBaseByNameOrPattern)
{
    KCLogger logger;
    EXPECT_FALSE(logger.shouldOverrideCondition("LoggerTests", "/a/LoggerTests.cpp"));
    logger.setRuntimeOverride("loggertests");
    EXPECT_TRUE(logger.shouldOverrideCondition("Unrelated", "/any/where/LoggerTests.mm"));
    EXPECT_TRUE(logger.shouldOverrideCondition("Unrelated", "LoggerTests"));
    EXPECT_TRUE(logger.shouldOverrideCondition("TESTS", "/a/Other.cpp"));
    EXPECT_FALSE(logger.shouldOverrideCondition("Unrelated", "/a/Other.cpp"));
    // The extension is not part of the base name.
    EXPECT_FALSE(logger.shouldOverrideCondition("Unrelated", "/a/Other.loggertests"));
    // Empty text switches nothing on.
    EXPECT_FALSE(logger.shouldOverrideCondition("", ""));

    // A pattern from the environment matches the file's base name, then the condition.
    ::setenv(KCLogRuntimeOverridePattern, "^Store(Sync|Link)", 1);
    KCLogger patterned;
    EXPECT_TRUE(patterned.shouldOverrideCondition("x", "/a/StoreSyncer.cpp"));
    EXPECT_TRUE(patterned.shouldOverrideCondition("StoreLink lookup", "/a/Other.cpp"));
    EXPECT_FALSE(patterned.shouldOverrideCondition("a StoreLink", "/a/MyStoreSync.cpp"));

    // One that does not compile is logged and ignored.
    ::setenv(KCLogRuntimeOverridePattern, "(unclosed", 1);
    KCStdoutCapture capture;
    KCLogger broken;
    std::string output = capture.finish();
    EXPECT_NE(output.find("[KCLogger.cpp:74] Invalid RegexPattern: (unclosed -- Error: "), std::string::npos) << output;
    EXPECT_FALSE(broken.shouldOverrideCondition("(unclosed", "/a/b.cpp"));
}

TEST_F(KCLoggerTest, OutputGoesToStandardOutputFileOrBoth)
{
    KCLogger logger;
    auto logAndCapture = [&](const std::string& message) {
        KCStdoutCapture capture;
        logger.logString(message);
        return capture.finish();
    };
    KCWriteTestFile(scratch.file("aux.log"), "earlier line\n");

    EXPECT_NE(logAndCapture("no file").find("] no file\n"), std::string::npos);
    logger.setAuxPath(scratch.file("aux.log"));
    EXPECT_NE(logAndCapture("both").find("] both\n"), std::string::npos);
    logger.setLogToFileOnly(true);
    EXPECT_EQ(logAndCapture("file only"), "");
    logger.setAuxPath(std::nullopt);
    EXPECT_NE(logAndCapture("file closed").find("] file closed\n"), std::string::npos);

    auto lines = linesOf(KCReadTestFile(scratch.file("aux.log")));
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "earlier line");  // opened at its end, not truncated
    EXPECT_EQ(messageOf(lines[1], logger), "both");
    EXPECT_EQ(messageOf(lines[2], logger), "file only");

    // A file that cannot be created leaves standard output in charge.
    logger.setAuxPath(scratch.file("missing/dir/aux.log"));
    EXPECT_NE(logAndCapture("fallback").find("] fallback\n"), std::string::npos);
}

TEST_F(KCLoggerTest, ConcurrentLinesStayWhole)
{
    KCLogger logger;
    logToFileOnly(logger);
    constexpr int kThreads = 8, kLines = 500;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&logger, t] {
            for (int i = 0; i < kLines; ++i)
                logger.logFile(__FILE__, __LINE__, "thread %d line %d %@", t, i, std::string(40, 'x'));
        });
    }
    for (auto& thread : threads)
        thread.join();

    auto messages = fileMessages(logger);
    ASSERT_EQ(messages.size(), size_t(kThreads * kLines));
    std::set<std::string> distinct(messages.begin(), messages.end());
    EXPECT_EQ(distinct.size(), messages.size());
    const std::regex shape(R"(\[KCLoggerTests\.cpp:\d+\] thread \d line \d+ x{40})");
    for (const auto& message : messages)
        ASSERT_TRUE(std::regex_match(message, shape)) << message;
}

TEST_F(KCLoggerTest, RollsAFileThatReachedItsMaximumSize)
{
    std::string path = scratch.file("app.log");
    KCWriteTestFile(path, "0123456789");
    KCLogger::rollLogPath(path, 11);
    EXPECT_TRUE(std::filesystem::exists(path));

    KCLogger::rollLogPath(path, 10);
    EXPECT_FALSE(std::filesystem::exists(path));
    auto names = scratch.contents();
    ASSERT_EQ(names.size(), 1u);
    EXPECT_TRUE(std::regex_match(names[0], std::regex(R"(Rolled-\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}-app\.log)"))) << names[0];
    EXPECT_EQ(KCReadTestFile(scratch.file(names[0])), "0123456789");

    KCLogger::rollLogPath(scratch.file("absent.log"), 0);  // nothing to roll, nothing happens
}

TEST_F(KCLoggerTest, DeletesOnlyOldRolledFilesOfTheSameLog)
{
    auto makeFile = [&](const std::string& name, int ageSeconds) {
        KCWriteTestFile(scratch.file(name), "x");
        std::filesystem::last_write_time(scratch.file(name), std::filesystem::file_time_type::clock::now() - std::chrono::seconds(ageSeconds));
    };
    makeFile("Rolled-2020-01-01 00:00:00.000-app.log", 7200);
    makeFile("Rolled-2024-01-01 00:00:00.000-app.log", 60);
    makeFile("Rolled-2020-01-01 00:00:00.000-other.log", 7200);
    makeFile("app.log", 7200);

    KCLogger::deleteRolledLogsForLogPath(scratch.file("app.log"), 3600);

    EXPECT_EQ(scratch.contents(), std::vector<std::string>({"Rolled-2020-01-01 00:00:00.000-other.log", "Rolled-2024-01-01 00:00:00.000-app.log", "app.log"}));

    KCLogger::deleteRolledLogsForLogPath(scratch.file("missing/app.log"), 0);  // unreadable directory: nothing
}

} // namespace
