// Debugger output, seen through the copy that syslog(3) can write to the standard error stream.
#include "platform/DebugOutput.h"

#include <gtest/gtest.h>
#include <syslog.h>

using namespace Quillmont::Platform;

namespace
{
std::string WrittenFor(const std::string& text)
{
    openlog("probe", LOG_PERROR, LOG_LOCAL0);
    testing::internal::CaptureStderr();
    WriteDebugOutput(text);
    std::string written = testing::internal::GetCapturedStderr();
    closelog();
    return written;
}
} // namespace

TEST(WriteDebugOutput, MakesOneMessageOfEachLine)
{
    EXPECT_EQ(WrittenFor("first\r\nsecond\nthird"), "probe: first\nprobe: second\nprobe: third\n");
}

TEST(WriteDebugOutput, LeavesEmptyLinesOut)
{
    EXPECT_EQ(WrittenFor("only\r\n\r\n\n"), "probe: only\n");
    EXPECT_EQ(WrittenFor(""), "");
}

TEST(WriteDebugOutput, PrintsPercentSignsAsTheyAre)
{
    EXPECT_EQ(WrittenFor("100%n %s"), "probe: 100%n %s\n");
}
