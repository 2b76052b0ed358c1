// How logging parameters become sinks.
#include "logger/CLogger.h"
#include "logger/COutputDebugStringLog.h"
#include "logger/CStdOutputLog.h"
#include "logger/Log.h"

#include <gtest/gtest.h>
#include <sstream>
#include <syslog.h>

using namespace Quillmont::Logger;

namespace
{
struct ConfigureCase
{
    const char* name;
    LoggingParameters parameters;
    bool result;
    std::string sinks; // in order: S standard output, D debugger, each with its output class
};

void PrintTo(const ConfigureCase& each, std::ostream* out)
{
    *out << each.name;
}

std::string SinksNow()
{
    std::string text;
    for (const auto& sink : *CLogger::Sinks())
    {
        text += dynamic_cast<CStdOutputLog*>(sink.get()) ? "S" : "";
        text += dynamic_cast<COutputDebugStringLog*>(sink.get()) ? "D" : "";
        text += std::to_string(sink->GetOutputClass());
    }
    return text;
}

// The priorities that the configured sinks print on the standard streams.
std::string PrintedPriorities()
{
    std::string printed;
    for (uint32_t priority = 0; priority < 9; ++priority)
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        Log(priority, "text");
        if (!(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr()).empty())
            printed += std::to_string(priority);
    }
    return printed;
}

class Configure : public testing::TestWithParam<ConfigureCase>
{
protected:
    ~Configure() override { CLogger::GetInstance()->Configure({}, "", 1); }
};

using ConfigureFilter = Configure;

const ConfigureCase kCases[] = {
    {"Nothing", {}, true, ""},
    {"FilterAlone", {{"Filter", "Error"}}, true, ""},
    {"StandardOutput", {{"Debug", "StdOutputLog"}}, true, "S1"},
    {"Debugger", {{"Debug", "DebugApiLog"}}, true, "D1"},
    {"BothInOneText", {{"Debug", "StdOutputLog and DebugApiLog"}}, true, "S1D1"},
    {"BothTurnedAround", {{"Debug", "DebugApiLogStdOutputLog"}}, true, "S1D1"},
    {"BothInTwoEntries", {{"Debug", "DebugApiLog"}, {"Debug", "StdOutputLog"}}, true, "D1S1"},
    {"EventComesAfterDebug", {{"Event", "DebugApiLog"}, {"Debug", "StdOutputLog"}}, true, "S1D0"},
    {"EventAlone", {{"Event", "StdOutputLog"}}, true, "S0"},
    {"SysLogAlone", {{"Debug", "SysLog"}}, false, ""},
    {"SysLogLetsStandardOutputStand", {{"Debug", "SysLog StdOutputLog"}}, false, "S1"},
    {"SysLogKeepsTheDebuggerAway", {{"Debug", "StdOutputLog,DebugApiLog,SysLog"}}, false, "S1"},
    {"SysLogEndsTheEntriesBehind", {{"Debug", "SysLog"}, {"Event", "StdOutputLog"}}, false, ""},
    {"SysLogKeepsTheEntriesBefore", {{"Debug", "StdOutputLog"}, {"Event", "SysLog"}}, false, "S1"},
    {"CaseCounts", {{"Debug", "stdoutputlog DEBUGAPILOG"}}, true, ""},
    {"KeysAreExact", {{"Debug ", "StdOutputLog"}, {"debug", "StdOutputLog"}}, true, ""},
    {"ForeignKeyEndsTheList", {{"Alpha", "x"}, {"Debug", "StdOutputLog"}}, true, ""},
    {"ForeignKeyBehind", {{"Debug", "StdOutputLog"}, {"Dz", "x"}, {"Event", "StdOutputLog"}}, true, "S1"},
};
} // namespace

TEST_P(Configure, MakesTheSinksThatTheParametersAskFor)
{
    const bool result = CLogger::GetInstance()->Configure(GetParam().parameters, "N", 1);

    EXPECT_EQ(result, GetParam().result);
    EXPECT_EQ(SinksNow(), GetParam().sinks);
}

INSTANTIATE_TEST_SUITE_P(Parameters, Configure, testing::ValuesIn(kCases),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(ConfigureFilter, WordsOfTheFilterAreThePrioritiesPrinted)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Error Warning", "34"},
        {"ErrorWarning", "34"},
        {"Warning,Error", "34"},
        {"Debugging", "7"}, // a part of a longer word is enough
        {"Emergency Alert Critical Error Warning Notice Info Debug", "01234567"},
        {"error", ""},
        {"", ""},
    };
    for (const auto& [filter, printed] : cases)
    {
        CLogger::GetInstance()->Configure({{"Debug", "StdOutputLog"}, {"Filter", filter}}, "N", 1);
        EXPECT_EQ(PrintedPriorities(), printed) << filter;
    }
}

TEST_F(ConfigureFilter, SeveralFiltersAddUp)
{
    CLogger::GetInstance()->Configure({{"Debug", "StdOutputLog"}, {"Filter", "Error"}, {"Filter", "Alert"}}, "N", 1);

    EXPECT_EQ(PrintedPriorities(), "13");
}

TEST_F(ConfigureFilter, EventOutputAlonePrintsNothingThoughItsSinkExists)
{
    CLogger::GetInstance()->Configure({{"Event", "StdOutputLog"}, {"Filter", "Error Debug"}}, "N", 1);

    EXPECT_EQ(SinksNow(), "S0");
    EXPECT_EQ(PrintedPriorities(), "");
}

TEST_F(Configure, ReplacesTheSinksOfTheConfigurationBefore)
{
    CLogger& logger = *CLogger::GetInstance();
    logger.Configure({{"Debug", "StdOutputLog DebugApiLog"}}, "first", 1);

    logger.Configure({{"Debug", "DebugApiLog"}}, "second", 0);

    ASSERT_EQ(SinksNow(), "D1");
    EXPECT_EQ(CLogger::Sinks()->front()->GetName(), "second");
}
