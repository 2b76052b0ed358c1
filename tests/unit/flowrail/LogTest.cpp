// The rail's own log lines: configured by the product's settings, in the product's form.
#include "RailFixture.h"
#include "RailLog.h"

#include <gmock/gmock.h>
#include <iostream>
#include <streambuf>
#include <syslog.h>

using namespace railtest;
using Quillmont::FlowRail::Log;

namespace
{
class RailLog : public testing::Test
{
protected:
    void TearDown() override { CFlowRail::SetLoggingParameters({}); }

    struct Lines
    {
        std::string out, err;
    };
    static Lines Write(uint32_t priority, const std::string& message)
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        Log(priority, message);
        Lines lines;
        lines.out = testing::internal::GetCapturedStdout();
        lines.err = testing::internal::GetCapturedStderr();
        return lines;
    }
};
constexpr const char* kTime = "^[0-9]{2}-[0-9]{2}-[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2} ";
} // namespace

TEST_F(RailLog, PrintsNothingUntilItIsConfigured)
{
    EXPECT_EQ(Write(3, "lost").err, "");
}

TEST_F(RailLog, PrintsThePrioritiesOfTheFilterOnTheirStreams)
{
    EXPECT_TRUE(CFlowRail::SetLoggingParameters({{"Debug", "StdOutputLog"}, {"Filter", "Error Warning"}}));

    EXPECT_THAT(Write(3, "broken").err,
                testing::ContainsRegex(std::string(kTime) + "\\[QUILLMONT FLOWRAIL\\]\\[Error\\] broken\n$"));
    EXPECT_THAT(Write(4, "odd").out,
                testing::ContainsRegex(std::string(kTime) + "\\[QUILLMONT FLOWRAIL\\]\\[Warning\\] odd\n$"));
    EXPECT_EQ(Write(6, "quiet").out, "");
    EXPECT_EQ(Write(8, "beyond").err, "");
}

TEST_F(RailLog, StreamThatRaisesWhenItCannotWriteDisturbsNobody)
{
    EXPECT_TRUE(CFlowRail::SetLoggingParameters({{"Debug", "StdOutputLog"}, {"Filter", "Error"}}));
    struct : std::streambuf
    {
    } full;
    std::streambuf* const before = std::cerr.rdbuf(&full);
    std::cerr.exceptions(std::ios_base::badbit | std::ios_base::failbit);

    EXPECT_NO_THROW(Log(3, "lost"));
    EXPECT_NO_THROW(Log(3, "lost, too"));

    EXPECT_TRUE(std::cerr.bad());
    std::cerr.exceptions(std::ios_base::goodbit);
    std::cerr.rdbuf(before); // clears the state, too
}

TEST_F(RailLog, AnEventOutputAloneIsSilentAndSeveralFiltersAddUp)
{
    EXPECT_TRUE(CFlowRail::SetLoggingParameters({{"Event", "StdOutputLog"}, {"Filter", "Error"}}));
    EXPECT_EQ(Write(3, "silent").err, "");

    EXPECT_TRUE(CFlowRail::SetLoggingParameters({{"Debug", "StdOutputLog"}, {"Filter", "Error"}, {"Filter", "Info"}}));
    EXPECT_NE(Write(3, "a").err, "");
    EXPECT_NE(Write(6, "b").out, "");
    EXPECT_EQ(Write(4, "c").out, "");
}

TEST_F(RailLog, SysLogGivesFalseAndKeepsWhatStoodBeforeIt)
{
    EXPECT_FALSE(CFlowRail::SetLoggingParameters({{"Debug", "SysLog StdOutputLog DebugApiLog"}, {"Filter", "Error"}}));

    EXPECT_NE(Write(3, "kept").err, "");
}

// Seen through the copy that syslog(3) can write to the standard error stream.
TEST_F(RailLog, TheDebuggerOutputIsTheLogOfTheSystem)
{
    EXPECT_TRUE(CFlowRail::SetLoggingParameters({{"Debug", "DebugApiLog"}, {"Filter", "Error"}}));
    openlog("probe", LOG_PERROR, LOG_LOCAL0);

    const Lines lines = Write(3, "100%n broken");

    closelog();
    EXPECT_THAT(lines.err,
                testing::ContainsRegex("^probe: [-0-9]{10} [:0-9]{8} \\[QUILLMONT FLOWRAIL\\]\\[Error\\] 100%n "
                                       "broken\n$"));
    EXPECT_EQ(lines.out, "");
}

TEST_F(RailLog, AKeyThatSortsBeforeTheOutputsEndsTheReading)
{
    EXPECT_TRUE(CFlowRail::SetLoggingParameters({{"Colour", "x"}, {"Debug", "StdOutputLog"}, {"Filter", "Error"}}));

    EXPECT_EQ(Write(3, "unread").err, "");
}

TEST_F(RailLog, ARefusedOpenSaysWhy)
{
    RailPair pair(100, 4);
    ++Vandal(pair.Name()).Header().Geometry.LayoutVersion;
    CFlowRail::SetLoggingParameters({{"Debug", "StdOutputLog"}, {"Filter", "Error"}});

    testing::internal::CaptureStderr();
    EXPECT_EQ(NewRail()->Open(&pair.Descriptor), FLOW_RAIL_BAD_STATE);

    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("The rail " + pair.Name() + " could not be opened: its layout has version 2."));
}
