// The two sinks: which priority goes where, and the form of a line.
#include "logger/COutputDebugStringLog.h"
#include "logger/CStdOutputLog.h"

#include <gtest/gtest.h>
#include <iostream>
#include <regex>
#include <syslog.h>

using namespace Quillmont::Logger;

namespace
{
constexpr PriorityFilter kAll{true, true, true, true, true, true, true, true};

struct Printed
{
    std::string out, err;
};

Printed PrintedBy(CLogSystem& sink, uint32_t priority, const std::string& message)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    sink.Log(priority, message);
    Printed printed;
    printed.out = testing::internal::GetCapturedStdout();
    printed.err = testing::internal::GetCapturedStderr();
    return printed;
}

const std::string kTime = R"(\d\d-\d\d-\d{4} \d\d:\d\d:\d\d)";
} // namespace

TEST(CStdOutputLog, WritesTimeNamePriorityAndMessage)
{
    CStdOutputLog sink(1, "QUILLMONT ZEFA", kAll);

    const Printed printed = PrintedBy(sink, 3, "The stream handle is invalid.");

    EXPECT_TRUE(std::regex_match(
        printed.err, std::regex(kTime + R"( \[QUILLMONT ZEFA\]\[Error\] The stream handle is invalid\.\n)")))
        << printed.err;
}

TEST(CStdOutputLog, KeepsTheLineEndOfAMessageAndAddsItsOwn)
{
    CStdOutputLog sink(1, "N", kAll);

    EXPECT_TRUE(PrintedBy(sink, 3, "text\r\n").err.ends_with("] text\r\n\n"));
}

TEST(CStdOutputLog, ChoosesTheStreamByPriority)
{
    CStdOutputLog sink(1, "N", kAll);
    for (uint32_t priority = 0; priority < 8; ++priority)
    {
        const Printed printed = PrintedBy(sink, priority, "text");
        const bool standardOut = priority >= 4 && priority <= 6;
        EXPECT_EQ(printed.out.empty(), !standardOut) << priority;
        EXPECT_EQ(printed.err.empty(), standardOut) << priority;
    }
}

TEST(CStdOutputLog, TracesGoToTheBufferedLogStreamAndErrorsDoNot)
{
    CStdOutputLog sink(1, "N", kAll);
    std::ostringstream log;
    std::streambuf* before = std::clog.rdbuf(log.rdbuf());

    sink.Log(7, "trace");
    const Printed printed = PrintedBy(sink, 3, "error");
    std::clog.rdbuf(before);

    EXPECT_TRUE(log.str().ends_with("[N][Debug] trace\n"));
    EXPECT_TRUE(printed.err.ends_with("[N][Error] error\n"));
}

TEST(CStdOutputLog, PrintsWhatItsFilterHasAndNothingAboveSeven)
{
    CStdOutputLog sink(1, "N", PriorityFilter{false, false, false, true, true, false, false, false});
    for (uint32_t priority : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 4294967295U})
    {
        const Printed printed = PrintedBy(sink, priority, "text");
        EXPECT_EQ(printed.out.empty() && printed.err.empty(), priority != 3 && priority != 4) << priority;
    }
}

TEST(COutputDebugStringLog, WritesTheSameLineToTheSystemLog)
{
    COutputDebugStringLog sink(1, "N", kAll);
    openlog("probe", LOG_PERROR, LOG_USER); // copies each message to the standard error stream

    const Printed printed = PrintedBy(sink, 4, "two\r\nlines\r\n");
    closelog();

    EXPECT_TRUE(
        std::regex_match(printed.err, std::regex("probe: " + kTime + R"( \[N\]\[Warning\] two\nprobe: lines\n)")))
        << printed.err;
    EXPECT_EQ(printed.out, "");
}

TEST(COutputDebugStringLog, PrintsWhatItsFilterHasAndNothingAboveSeven)
{
    COutputDebugStringLog sink(1, "N", PriorityFilter{false, false, false, true, false, false, false, false});
    openlog("probe", LOG_PERROR, LOG_USER);
    for (uint32_t priority : {0U, 3U, 7U, 8U})
        EXPECT_EQ(PrintedBy(sink, priority, "text").err.empty(), priority != 3) << priority;
    closelog();
}
