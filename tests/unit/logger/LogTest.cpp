// The way of a message to the sinks, and the priorities.
#include "logger/Log.h"
#include "logger/CLogger.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <thread>

using namespace Quillmont::Logger;

namespace
{
class CountingSink : public CLogSystem
{
public:
    CountingSink(uint32_t outputClass, int& lines) : CLogSystem(outputClass, "count", PriorityFilter{}), Lines(lines) {}
    void Log(uint32_t, std::string) override { ++Lines; }

private:
    int& Lines;
};

class RaisingSink : public CLogSystem
{
public:
    RaisingSink() : CLogSystem(kOutputClassDebug, "raise", PriorityFilter{}) {}
    void Log(uint32_t, std::string) override { throw 1; }
};
} // namespace

TEST(PriorityToString, GivesEachTextAndOneForAllElse)
{
    const char* const texts[] = {"Emergency", "Alert", "Critical", "Error", "Warning", "Notice", "Info", "Debug"};
    for (uint32_t priority = 0; priority < 8; ++priority)
        EXPECT_EQ(PriorityToString(priority), texts[priority]);
    EXPECT_EQ(PriorityToString(8), "Unknown priority");
    EXPECT_EQ(PriorityToString(UINT32_MAX), "Unknown priority");
}

TEST(Log, WhatASinkRaisesStaysThereAndTheOthersHaveTheirLine)
{
    CLogger::GetInstance()->Configure({}, "test", 1);
    const auto raising = std::make_shared<RaisingSink>();
    int lines = 0;
    const auto counting = std::make_shared<CountingSink>(kOutputClassDebug, lines);
    CLogger::GetInstance()->AddSink(raising);
    CLogger::GetInstance()->AddSink(counting);

    EXPECT_NO_THROW(Log(3, "text"));

    EXPECT_EQ(lines, 1);
    CLogger::GetInstance()->RemoveSink(raising.get());
    CLogger::GetInstance()->RemoveSink(counting.get());
}

TEST(Log, WithoutSinksSwallowsEverything)
{
    CLogger::GetInstance()->Configure({}, "test", 1);

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (uint32_t priority = 0; priority < 10; ++priority)
        Log(priority, "nobody hears this");

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(HasListener());
}

TEST(Log, HandsEveryPriorityToASinkThatListens)
{
    const LogCapture log;

    for (uint32_t priority : {0U, 3U, 7U, 8U, 99U})
        Log(priority, "text\r\n");

    EXPECT_EQ(log.All(), (std::vector<LogCapture::Line>{
                             {0, "text\r\n"}, {3, "text\r\n"}, {7, "text\r\n"}, {8, "text\r\n"}, {99, "text\r\n"}}));
}

TEST(Log, PassesOverSinksOfAnotherOutputClass)
{
    int events = 0;
    int others = 0;
    const auto event = std::make_shared<CountingSink>(kOutputClassEvent, events);
    const auto other = std::make_shared<CountingSink>(2, others);
    CLogger::GetInstance()->AddSink(event);
    CLogger::GetInstance()->AddSink(other);
    {
        const LogCapture log;
        for (uint32_t priority = 0; priority < 9; ++priority)
            Log(priority, "text");
        EXPECT_EQ(log.All().size(), 9U);
    }
    CLogger::GetInstance()->RemoveSink(event.get());
    CLogger::GetInstance()->RemoveSink(other.get());

    EXPECT_EQ(events, 0);
    EXPECT_EQ(others, 0);
}

TEST(Log, ServesTheSinksInTheOrderOfTheirCreation)
{
    std::vector<int> order;
    class OrderSink : public CLogSystem
    {
    public:
        OrderSink(int number, std::vector<int>& order)
            : CLogSystem(kOutputClassDebug, "order", PriorityFilter{}), Number(number), Order(order)
        {
        }
        void Log(uint32_t, std::string) override { Order.push_back(Number); }

    private:
        int Number;
        std::vector<int>& Order;
    };
    std::vector<std::shared_ptr<OrderSink>> sinks;
    for (int number : {1, 2, 3})
    {
        sinks.push_back(std::make_shared<OrderSink>(number, order));
        CLogger::GetInstance()->AddSink(sinks.back());
    }

    Log(kPriorityError, "text");

    for (const auto& sink : sinks)
        CLogger::GetInstance()->RemoveSink(sink.get());
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(HasListener, TellsWhetherASinkOfOutputClassOneExists)
{
    CLogger& logger = *CLogger::GetInstance();
    int lines = 0;
    logger.Configure({}, "test", 1);
    EXPECT_FALSE(HasListener());

    const auto event = std::make_shared<CountingSink>(kOutputClassEvent, lines);
    logger.AddSink(event);
    EXPECT_FALSE(HasListener());
    {
        const LogCapture log;
        EXPECT_TRUE(HasListener());
    }
    EXPECT_FALSE(HasListener());
    logger.RemoveSink(event.get());

    // A filter that prints nothing is no reason for the short cut.
    logger.Configure({{"Debug", "StdOutputLog"}}, "test", 1);
    EXPECT_TRUE(HasListener());
    logger.Configure({{"Event", "StdOutputLog"}, {"Filter", "Error"}}, "test", 1);
    EXPECT_FALSE(HasListener());
    logger.Configure({}, "test", 1);
}

TEST(Log, FromSeveralThreadsWhileTheSinksChangeLosesNothingOfTheOneThatStays)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    const LogCapture log;

    std::vector<std::jthread> writers;
    for (int i = 0; i < kThreads; ++i)
        writers.emplace_back(
            []
            {
                for (int line = 0; line < kLines; ++line)
                    Log(kPriorityDebug, "line");
            });
    for (int i = 0; i < 50; ++i)
    {
        const LogCapture passing;
        Log(kPriorityInfo, "change");
    }
    writers.clear();

    EXPECT_EQ(log.Lines(kPriorityDebug).size(), static_cast<size_t>(kThreads * kLines));
    EXPECT_EQ(log.Lines(kPriorityInfo).size(), 50U);
}

TEST(GetInstance, GivesTheSameObjectToAllThreads)
{
    CLogger* seen[4] = {};
    {
        std::vector<std::jthread> threads;
        for (auto& each : seen)
            threads.emplace_back([&each] { each = CLogger::GetInstance(); });
    }

    for (const CLogger* each : seen)
        EXPECT_EQ(each, CLogger::GetInstance());
}

TEST(CLogSystem, TellsItsNameAndOutputClass)
{
    int lines = 0;
    const CountingSink sink(7, lines);

    EXPECT_EQ(sink.GetName(), "count");
    EXPECT_EQ(sink.GetOutputClass(), 7U);
}
