// Both forms of the scope tracer.
#include "logger/CFunctionTracer.h"
#include "logger/Log.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace Quillmont::Logger;
using Lines = std::vector<LogCapture::Line>;

TEST(CFunctionTracer, PlainFormLogsEntryAndExitWithTheirLastBlank)
{
    const LogCapture log;
    {
        const CFunctionTracer tracer("ZEFA_CreateMXSContext");
        EXPECT_EQ(log.All(), (Lines{{7, "ZEFA_CreateMXSContext --> Entering "}}));
    }

    EXPECT_EQ(log.All(),
              (Lines{{7, "ZEFA_CreateMXSContext --> Entering "}, {7, "ZEFA_CreateMXSContext --> Exiting "}}));
}

TEST(CFunctionTracer, ReportingFormCallsTheActionsWithTheName)
{
    std::vector<std::string> calls;
    {
        const CFunctionTracer tracer(
            "f", [&](const char* name) { calls.push_back(std::string("in ") + name); },
            [&](const char* name) { calls.push_back(std::string("out ") + name); });
        EXPECT_EQ(calls, std::vector<std::string>{"in f"});
    }

    EXPECT_EQ(calls, (std::vector<std::string>{"in f", "out f"}));
}

TEST(CFunctionTracer, ReportingFormLogsNothingByItself)
{
    const LogCapture log;
    {
        const CFunctionTracer tracer(
            "f", [](const char*) {}, [](const char*) {});
    }

    EXPECT_EQ(log.All(), Lines{});
}

TEST(CFunctionTracer, ExitActionSeesTheValueAtDestruction)
{
    int result = 1;
    int seen = 0;
    {
        const CFunctionTracer tracer(
            "f", [](const char*) {}, [&](const char*) { seen = result; });
        result = 2;
    }

    EXPECT_EQ(seen, 2);
}

TEST(CFunctionTracer, WritesItsExitLineWhenAnExceptionLeavesTheScope)
{
    const LogCapture log;
    try
    {
        const CFunctionTracer tracer("f");
        throw std::runtime_error("leaves");
    }
    catch (const std::runtime_error&)
    {
        Log(kPriorityInfo, "caught");
    }

    EXPECT_EQ(log.All(), (Lines{{7, "f --> Entering "}, {7, "f --> Exiting "}, {6, "caught"}}));
}

TEST(CFunctionTracer, EmptyEntryActionIsABadCall)
{
    EXPECT_THROW(CFunctionTracer("f", nullptr, [](const char*) {}), std::bad_function_call);
}

TEST(CFunctionTracer, LetsNothingEscapeFromTheExitAction)
{
    EXPECT_NO_THROW(CFunctionTracer(
        "f", [](const char*) {}, [](const char*) { throw 1; }));
    EXPECT_NO_THROW(CFunctionTracer(
        "f", [](const char*) {}, nullptr));
}

TEST(CFunctionTracer, WithNobodyListeningDoesNothingVisible)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    {
        const CFunctionTracer tracer("f");
    }

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
