// Texts of identifiers and secrets, and the kernel's short files.
#include "mxs/Identifiers.h"

#include "mxs/Log.h"
#include "mxs/Refusal.h"
#include "mxs/SystemFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace test
{
namespace
{

using namespace mxs;

TEST(Identifiers, AreSixteenLowercaseDigits)
{
    EXPECT_EQ("0000000000000001", IdText(1));
    EXPECT_EQ("fedcba9876543210", IdText(0xfedcba9876543210));
    EXPECT_EQ(0xfedcba9876543210, ParseId("fedcba9876543210"));
    EXPECT_EQ(0xfedcba9876543210, ParseId("FEDCBA9876543210"));
    for (const char* text :
         {"", "1", "000000000000001", "00000000000000001", "000000000000000g", " 000000000000001", "+000000000000001"})
        EXPECT_FALSE(ParseId(text)) << text;
}

TEST(Identifiers, OfTwoKindsNeverMeet)
{
    IdSource conductors(IdKind::Conductor), streams(IdKind::Stream);
    const uint64_t conductor = conductors.Next();
    EXPECT_NE(0u, conductor);
    EXPECT_NE(conductor, streams.Next());
    EXPECT_EQ(conductor + 1, conductors.Next());
}

TEST(Identifiers, TheLastSegmentEndsAPath)
{
    EXPECT_EQ("c", LastPathSegment("a/b/c"));
    EXPECT_EQ("c", LastPathSegment("a/b/c/"));
    EXPECT_EQ("c", LastPathSegment("c"));
    EXPECT_EQ("", LastPathSegment(""));
    EXPECT_EQ("", LastPathSegment("/"));
    EXPECT_EQ("", LastPathSegment("a//"));
}

TEST(Secrets, ComeBackFromTheirTextAndDiffer)
{
    const Secret secret = MakeSecret(), other = MakeSecret();
    const std::string text = SecretText(secret);
    EXPECT_EQ(64u, text.size());
    ASSERT_TRUE(ParseSecret(text));
    EXPECT_TRUE(SameSecret(secret, *ParseSecret(text)));
    EXPECT_FALSE(SameSecret(secret, other));
    EXPECT_FALSE(ParseSecret(text + "0"));
    EXPECT_FALSE(ParseSecret(""));
    EXPECT_FALSE(ParseSecret(std::string(64, 'x')));
}

TEST(Secrets, OneBitAnywhereMakesThemDiffer)
{
    const Secret secret = MakeSecret();
    for (size_t bit = 0; bit < 256; ++bit)
    {
        Secret changed = secret;
        changed[bit / 8] = static_cast<uint8_t>(changed[bit / 8] ^ 1 << (bit % 8));
        EXPECT_FALSE(SameSecret(secret, changed)) << bit;
    }
}

TEST(SystemFiles, CpuListsAreRangesAndNumbers)
{
    using List = std::vector<uint32_t>;
    EXPECT_EQ((List{0, 1, 2, 5}), ParseCpuList("0-2,5"));
    EXPECT_EQ(List{7}, ParseCpuList("7"));
    EXPECT_EQ(List{}, ParseCpuList(""));
    EXPECT_EQ(List{3}, ParseCpuList("x,3,-,2-1"));
    EXPECT_EQ(8192u, ParseCpuList("0-4294967295").size()); // a broken file fills no memory
}

TEST(SystemFiles, WhatIsNotThereIsNothing)
{
    EXPECT_FALSE(ReadSystemText("/nonexistent"));
    EXPECT_FALSE(ReadSystemNumber("/nonexistent"));
    EXPECT_FALSE(ReadSystemNumber("/proc/version"));
    EXPECT_TRUE(ReadSystemNumber("/sys/class/net/lo/mtu"));
}

TEST(ErrorCodes, HaveTheirStatus)
{
    EXPECT_EQ(404u, StatusOf(kUnknownConductor));
    EXPECT_EQ(403u, StatusOf(kForeignResource));
    EXPECT_EQ(401u, StatusOf(kTokenNeeded));
    EXPECT_EQ(405u, StatusOf(kBadMethod));
    EXPECT_EQ(409u, StatusOf(kWrongState));
    EXPECT_EQ(500u, StatusOf(kOperationFailed));
    EXPECT_EQ(500u, StatusOf(12345));
}

TEST(Log, LinesBelowTheLevelAreLeftOutAndControlCharactersReplaced)
{
    std::vector<std::string> lines;
    const mxs::Log log(LogLevel::Warning, [&](LogLevel, std::string_view text) { lines.emplace_back(text); });

    log.Error("one\ntwo\x1b[31m");
    log.Warning("three");
    log.Info("four");
    log.Error("five\xC2\x9B"
              "31m\x9B"
              "31m"); // the same in UTF-8 and as one byte
    log.Error("K\xC3\x9Cnstler \xE2\x80\x9C\xF0\x9F\x98\x80");

    EXPECT_EQ((std::vector<std::string>{"one?two?[31m", "three", "five??31m?31m",
                                        "K\xC3\x9Cnstler \xE2\x80\x9C\xF0\x9F\x98\x80"}),
              lines);
}

TEST(Log, ALineThatIsTooLongIsCut)
{
    std::vector<std::string> lines;
    const mxs::Log log(LogLevel::Warning, [&](LogLevel, std::string_view text) { lines.emplace_back(text); });

    log.Error(std::string(2000, 'a'));
    log.Error(std::string(2001, 'b'));

    EXPECT_EQ((std::vector<std::string>{std::string(2000, 'a'), std::string(2000, 'b') + "..."}), lines);
}

TEST(Log, LinesThatNobodyReadsStopNobodyAndAreCounted)
{
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    const int before = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    const mxs::Log log(LogLevel::Debug);
    const std::string line(900, 'x');
    for (int count = 0; count < 400; ++count) // a pipe has 64 KiB
        log.Debug(line);

    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    const auto read = [&]
    {
        std::string text;
        char room[4096];
        for (ssize_t got = 0; (got = ::read(ends[0], room, sizeof room)) > 0;)
            text.append(room, static_cast<size_t>(got));
        return text;
    };
    const std::string first = read();
    const auto written = static_cast<uint64_t>(std::count(first.begin(), first.end(), '\n'));
    std::string told;
    while (told.find(" lines like these were left out.") == std::string::npos) // in the next second
    {
        log.Debug("again");
        told = read();
    }
    dup2(before, STDERR_FILENO);
    for (const int end : {ends[0], ends[1], before})
        close(end);

    EXPECT_GT(written, 0u);
    EXPECT_LT(written, 400u);
    EXPECT_NE(told.find("debug: " + std::to_string(400 - written) + " lines like these were left out."),
              std::string::npos)
        << told;
}

TEST(Log, AFloodIsCountedInTheNextSecondAndHidesNoOtherLevel)
{
    std::vector<std::string> lines;
    uint64_t leftOut = 0, written = 0, debug = 0;
    const mxs::Log log(LogLevel::Debug,
                       [&](LogLevel level, std::string_view text)
                       {
                           if (level == LogLevel::Debug) return void(++debug);
                           if (text.ends_with("were left out."))
                               leftOut = std::stoull(std::string(text));
                           else
                               lines.emplace_back(text);
                       });

    for (; leftOut == 0; ++written)
        log.Info("flood");
    EXPECT_EQ(written, lines.size() + leftOut);

    for (int line = 0; line < 2000; ++line)
    {
        log.Info("flood");
        log.Debug("asked for");
    }
    log.Error("fire");
    EXPECT_EQ("fire", lines.back());
    EXPECT_EQ(2000u, debug);
}

TEST(Refusals, AMessageThatIsTooLongIsCut)
{
    EXPECT_EQ(std::string(1000, 'a'), mxs::Refusal(4, std::string(1000, 'a')).Message);
    EXPECT_EQ(std::string(997, 'b') + "...", mxs::Refusal(4, std::string(1001, 'b')).Message);
}

} // namespace
} // namespace test
