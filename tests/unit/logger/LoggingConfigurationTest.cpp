// From the settings file to the sinks.
#include "logger/LoggingConfiguration.h"
#include "logger/CLogger.h"
#include "logger/Log.h"
#include "support/LogCapture.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace Quillmont::Logger;
namespace fs = std::filesystem;

namespace
{
constexpr const char* kKey = "Software\\Quillmont\\Zefaline";

class ReadLoggingConfigurationTest : public testing::Test
{
protected:
    ReadLoggingConfigurationTest()
    {
        std::string name = (fs::temp_directory_path() / "zefaline-logconf-XXXXXX").string();
        Folder = mkdtemp(name.data());
        CLogger::GetInstance()->Configure({}, "", 1);
    }
    ~ReadLoggingConfigurationTest() override
    {
        CLogger::GetInstance()->Configure({}, "", 1);
        fs::remove_all(Folder);
    }

    void Write(const std::string& place, const std::string& content) const
    {
        fs::create_directories(Folder / place / "quillmont");
        std::ofstream(Folder / place / "quillmont" / "zefaline.conf") << content;
    }

    std::vector<std::string> Places() const { return {(Folder / "etc").string(), (Folder / "user").string()}; }

    // What is printed for an error and a warning once the settings have been read.
    std::string PrintedAfter(const std::string& settings) const
    {
        Write("etc", settings);
        ReadLoggingConfiguration(kKey, Places());
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        Log(kPriorityError, "an error");
        Log(kPriorityWarning, "a warning");
        const std::string err = testing::internal::GetCapturedStderr();
        const std::string out = testing::internal::GetCapturedStdout();
        return std::string(err.find("an error") != std::string::npos ? "E" : "") +
               (out.find("a warning") != std::string::npos ? "W" : "");
    }

    fs::path Folder;
};
} // namespace

TEST_F(ReadLoggingConfigurationTest, FilterAndOutputMakeASinkWithTheLibrarysName)
{
    EXPECT_EQ(PrintedAfter("DebugFilter = Error Warning\nDebugOutput = StdOutputLog\n"), "EW");
    ASSERT_EQ(CLogger::Sinks()->size(), 1U);
    EXPECT_EQ(CLogger::Sinks()->front()->GetName(), "QUILLMONT ZEFA");
    EXPECT_EQ(CLogger::Sinks()->front()->GetOutputClass(), 1U);
}

TEST_F(ReadLoggingConfigurationTest, OrderOfTheLinesInTheFileMakesNoDifference)
{
    EXPECT_EQ(PrintedAfter("DebugOutput = StdOutputLog\nDebugFilter = Error Warning\n"), "EW");
}

TEST_F(ReadLoggingConfigurationTest, TextLongerThanTheOneReadBeforeIsSkipped)
{
    // "Error" is 5 characters, "StdOutputLog" 12: the output is not read, so there is no sink.
    EXPECT_EQ(PrintedAfter("DebugFilter = Error\nDebugOutput = StdOutputLog\n"), "");
    EXPECT_TRUE(CLogger::Sinks()->empty());
    // As long as the text before it is short enough.
    EXPECT_EQ(PrintedAfter("DebugFilter = Error,,,,,,,\nDebugOutput = StdOutputLog\n"), "E");
    EXPECT_EQ(PrintedAfter("DebugFilter = Error,,,,,,\nDebugOutput = StdOutputLog\n"), "");
}

TEST_F(ReadLoggingConfigurationTest, SkippedTextDoesNotLimitTheOnesBehind)
{
    // "DebugApiLog" (11) is read after the filter (13) and limits the text behind it; a missing one limits nothing.
    EXPECT_EQ(PrintedAfter("DebugFilter = Error Warning\nEventOutput = DebugApiLog\nDebugOutput = StdOutputLog\n"), "");
    ASSERT_EQ(CLogger::Sinks()->size(), 1U);
    EXPECT_EQ(CLogger::Sinks()->front()->GetOutputClass(), 0U);
    EXPECT_EQ(PrintedAfter("DebugFilter = Error Warning\nEventOutput = StdOutputLog DebugApiLog\n"
                           "DebugOutput = StdOutputLog\n"),
              "EW");
    EXPECT_EQ(CLogger::Sinks()->size(), 1U) << "the event output was longer than the filter and was skipped";
}

TEST_F(ReadLoggingConfigurationTest, OutputWithoutAFilterMakesASinkThatPrintsNothing)
{
    EXPECT_EQ(PrintedAfter("DebugOutput = StdOutputLog\n"), "");
    EXPECT_EQ(CLogger::Sinks()->size(), 1U);
}

TEST_F(ReadLoggingConfigurationTest, TextOfMoreThan1023CharactersIsSkipped)
{
    const std::string most(1023 - 5, ',');

    EXPECT_EQ(PrintedAfter("DebugFilter = Error" + most + "\nDebugOutput = StdOutputLog\n"), "E");
    EXPECT_EQ(PrintedAfter("DebugFilter = Error," + most + "\nDebugOutput = StdOutputLog\n"), "");
}

TEST_F(ReadLoggingConfigurationTest, SecondPlaceCountsOnlyWithoutTheFirst)
{
    Write("user", "DebugFilter = Error Warning\nDebugOutput = StdOutputLog\n");
    ReadLoggingConfiguration(kKey, Places());
    EXPECT_EQ(CLogger::Sinks()->size(), 1U);

    Write("etc", "# nothing is set here\n");
    ReadLoggingConfiguration(kKey, Places());
    EXPECT_TRUE(CLogger::Sinks()->empty());
}

TEST_F(ReadLoggingConfigurationTest, MissingSettingsAreToldToTheSinksOfAnEarlierReading)
{
    const LogCapture log;

    ReadLoggingConfiguration(kKey, {(Folder / "none").string()});

    EXPECT_EQ(log.All(),
              (std::vector<LogCapture::Line>{{3, "Could not open the registry at  Software\\Quillmont\\Zefaline"}}));
    EXPECT_TRUE(CLogger::Sinks()->empty());
}

TEST_F(ReadLoggingConfigurationTest, EndIsToldToTheNewSinksAtInfo)
{
    Write("etc", "DebugFilter = Info,,,,,,,,\nDebugOutput = StdOutputLog\n");

    testing::internal::CaptureStdout();
    ReadLoggingConfiguration(kKey, Places());

    EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with(" [QUILLMONT ZEFA][Info] end of attach process\n"));
}
