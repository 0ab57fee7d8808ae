#include "hilog/log.h"

#include <cerrno>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "hilog/host_log.h"

namespace OHOS::Host {
namespace {

#define LINE(level, ...) HILOG_IMPL(LOG_CORE, level, 218121748, "ShareService", __VA_ARGS__)

class LogTest : public testing::Test {
protected:
    LogTest()
    {
        SetWallClock([]() -> int64_t { return 1732313585123; });
        ClearLog();
    }
    const uint64_t start = LastLogSeq();
};

TEST_F(LogTest, SpecifiersShowHideAndEscapeTheirArguments)
{
    LINE(LOG_INFO, "%{public}d %{public}i %{public}u, 100%%", INT32_MIN, true, UINT32_MAX);
    LINE(LOG_INFO, "%{public}ld %{public}lu %{public}zu", INT64_MIN, UINT64_MAX, sizeof(int));
    LINE(LOG_INFO, "%{public}x %{public}02X %{public}-4d| %{public}.2f", -1, 10, 5, 1.005);
    LINE(LOG_INFO, "%{public}d %{public}lld", UINT32_MAX, UINT64_MAX);
    LINE(LOG_INFO, "%{public}s%{public}c%{public}s", "name", 'x', static_cast<const char*>(nullptr));
    LINE(LOG_INFO, "%d %{private}s %lu %f, then %{public}d", 1, "secret", 2UL, 3.0, 4);
    LINE(LOG_INFO, "%{public}s\n", "a\nb\x1b[31m\t\x7f\xc2\x9b\u202e-\xff\xc3\xa9\\\"");
    LINE(LOG_INFO, "%{public}s", "\xe0\x80\xaf \xed\xa0\x80 \xf4\x90\x80\x80 \xe2\x82");
    (void)HiLogPrint(LOG_CORE, LOG_INFO, 0, nullptr, "%{public}d %{publc}d %{public}s", 1);
    std::string text;
    for (const LogLine& line : ReadLog(start)) {
        text += line.text + '\n';
    }
    EXPECT_EQ(text, "-2147483648 1 4294967295, 100%\n"
                    "-9223372036854775808 18446744073709551615 4\n"
                    "ffffffff 0A 5   | 1.00\n"
                    "-1 -1\n"
                    "namex(null)\n"
                    "<private> <private> <private> <private>, then 4\n"
                    "a\\nb\\x1b[31m\\t\\x7f\\u009b\\u202e-\\xff\xc3\xa9\\\"\n\n"
                    "\\xe0\\x80\\xaf \\xed\\xa0\\x80 \\xf4\\x90\\x80\\x80 \\xe2\\x82\n"
                    "1 %{publc}d %{public}s\n");
    std::string name;
    while (name.size() < 3900) {
        name += "\u20ac";
    }
    LINE(LOG_INFO, "12%{public}s%{public}s", name.c_str(), "never");
    EXPECT_EQ(ReadLog(0).back().text, "12" + name.substr(0, 1298 * 3) + "..."); // one more would not fit below 3900
}

TEST_F(LogTest, FormatThatDisagreesWithItsArgumentsIsFound)
{
    using namespace HiviewDFX;
    static_assert(HiLogArguments<int, char[5]>::Judge("%{public}d %s").wrongArgument == 0);
    static_assert(HiLogArguments<long, int>::Judge("%{public}d %d").wrongArgument == 1);
    static_assert(HiLogArguments<uint64_t>::Judge("%{public}x").wrongArgument == 1);
    static_assert(HiLogArguments<std::string>::Judge("%{public}s").wrongArgument == 1);
    static_assert(HiLogArguments<int>::Judge("%{public}d %{public}d").missingArgument == 2);
    static_assert(HiLogArguments<int, int>::Judge("%d 5%%").surplusArgument == 2);
    for (const char* format : {"%{publc}d", "%", "%{public}", "%{public}y", "%{public}10s", "%{public}*d", "%n"}) {
        EXPECT_EQ(HiLogArguments<int>::Judge(format).unknownSpecifier, 1) << format;
    }
}

TEST_F(LogTest, LineBelowTheLevelEvaluatesNothing)
{
    int evaluated = 0;
    LINE(LOG_DEBUG, "%{public}d", ++evaluated);
    EXPECT_EQ(LastLogSeq(), start);
    SetLogLevel(LOG_DEBUG);
    LINE(LOG_DEBUG, "%{public}d", ++evaluated);
    EXPECT_EQ(ReadLog(start).at(0).text, "1");
    SetLogLevel(LOG_ERROR);
    LINE(LOG_WARN, "%{public}d", ++evaluated);
    EXPECT_EQ(evaluated, 1);
    static int told = 0;
    SetLogListener([] { ++told; });
    LINE(LOG_INFO, "%{public}s", "a follower hears of what is not kept");
    EXPECT_EQ(told, 1);
    EXPECT_EQ(LastLogSeq(), start + 1);
    EXPECT_EQ(GetLogLevel(), LOG_ERROR);
    SetLogListener(nullptr);
    for (const LogLevel level : {LOG_DEBUG, LOG_INFO, LOG_WARN, LOG_ERROR, LOG_FATAL}) {
        EXPECT_EQ(LogLevelFromText(LogLevelText(level)), level);
    }
}

TEST_F(LogTest, RingKeepsTheLastLinesAndTheirNumbers)
{
    for (size_t i = 1; i <= LOG_RING_LINES + 3; ++i) {
        LINE(LOG_WARN, "%{public}zu", i);
    }
    const auto lines = ReadLog(start);
    ASSERT_EQ(lines.size(), LOG_RING_LINES);
    EXPECT_TRUE(lines.front().seq == start + 4 && lines.front().text == "4");
    EXPECT_EQ(ReadLog(LastLogSeq() - 5, 2).at(1).seq, LastLogSeq() - 3);
    EXPECT_EQ(CountLog().lines[LOG_WARN], LOG_RING_LINES + 3);
    ClearLog();
    EXPECT_TRUE(ReadLog(0).empty() && CountLog().lines[LOG_WARN] == 0);
    LINE(LOG_WARN, "next");
    EXPECT_EQ(ReadLog(0).at(0).seq, lines.back().seq + 1);
}

std::string HeadOf(pid_t process)
{
    char head[64];
    (void)std::snprintf(head, sizeof(head), "2024-11-22 22:13:05.123 %5d %5d ", process, process);
    return head;
}

TEST_F(LogTest, FileTakesWholeLinesThatNobodyCanBreakAndThoseOfAChildWithItsPid)
{
    const std::string path = testing::TempDir() + "pelago_log_" + std::to_string(getpid());
    ASSERT_TRUE(SetLogFile(path));
    LINE(LOG_ERROR, "hello\n");
    EXPECT_FALSE(SetLogFile("/no/such/folder/log"));
    const pid_t child = fork();
    if (child == 0) {
        LINE(LOG_WARN, "first\nsecond");
        _exit(0);
    }
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    ASSERT_TRUE(SetLogFile(""));
    LINE(LOG_WARN, "not in the file");
    std::ifstream file(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}),
        HeadOf(getpid()) + "E d004614/ShareService: hello\n" + HeadOf(child) +
            "W d004614/ShareService: first\\nsecond\n");
    EXPECT_EQ(unlink(path.c_str()), 0);
}

TEST_F(LogTest, ReaderThatDoesNotReadLosesLinesAndStopsNobody)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const int kept = dup(STDERR_FILENO);
    ASSERT_EQ(dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
    SetLogToStderr(true);
    const std::string text(2000, 'x');
    for (int i = 0; i < 100; ++i) { // three times what a pipe holds
        LINE(LOG_INFO, "%{public}s", text.c_str());
    }
    const uint64_t lost = CountLog().lostBySinks;
    EXPECT_TRUE(lost > 50 && lost < 100) << lost;
    close(ends[0]);
    LINE(LOG_INFO, "to nobody"); // no SIGPIPE either
    ASSERT_EQ(dup2(kept, STDERR_FILENO), STDERR_FILENO);
    SetLogToStderr(false);
    ASSERT_TRUE(SetLogFile("/dev/full"));
    errno = EBUSY;
    LINE(LOG_INFO, "to a full disk");
    EXPECT_EQ(errno, EBUSY); // the caller's own
    EXPECT_EQ(CountLog().lostBySinks, lost + 2);
}

} // namespace
} // namespace OHOS::Host
