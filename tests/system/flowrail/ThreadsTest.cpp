// One rail object under several threads, and several objects: for the thread sanitizer, and true without it.
// Producer and consumers share one object here, since the sanitizer knows addresses, not the memory behind them.
#include "../../unit/flowrail/RailFixture.h"

#include <cstring>
#include <thread>
#include <vector>

using namespace railtest;

namespace
{
constexpr uint32_t kLongMs = 60000;

// Plain bytes, written by one thread and read by the others: the ring alone orders them.
void Produce(CFlowRail& rail, uint32_t size, uint64_t slots, uint32_t timeoutMs)
{
    for (uint64_t number = 0; number < slots;)
    {
        void* slot = nullptr;
        const uint32_t result = rail.LockProducer(size, timeoutMs, &slot);
        if (result == FLOW_RAIL_TIMEOUT) continue;
        ASSERT_EQ(result, FLOW_RAIL_OK);
        std::fill_n(RailPair::Address(rail, slot), size, static_cast<uint8_t>(number));
        ASSERT_EQ(rail.AddMetadata(slot, 1, 0, static_cast<uint32_t>(number)), FLOW_RAIL_OK);
        ASSERT_EQ(rail.UnlockProducer(slot), FLOW_RAIL_OK);
        ++number;
    }
}

void Consume(CFlowRail& rail, uint64_t token, uint32_t size, uint64_t slots, uint32_t timeoutMs)
{
    for (uint64_t number = 0; number < slots;)
    {
        void* slot = nullptr;
        const uint32_t result = rail.LockConsumer(&token, size, timeoutMs, &slot);
        if (result == FLOW_RAIL_TIMEOUT) continue;
        ASSERT_EQ(result, FLOW_RAIL_OK);
        const uint8_t* const bytes = RailPair::Address(rail, slot);
        ASSERT_EQ(std::count(bytes, bytes + size, static_cast<uint8_t>(number)), size) << number;
        FLOW_RAIL_METADATA record{};
        uint32_t count = 0;
        ASSERT_EQ(rail.GetMetadata(slot, 1, &record, 1, &count), FLOW_RAIL_OK);
        ASSERT_EQ(count, 1u);
        ASSERT_EQ(record.Value, static_cast<uint32_t>(number));
        ASSERT_EQ(rail.UnlockConsumer(&token, slot), FLOW_RAIL_OK);
        ++number;
    }
}
} // namespace

TEST(Threads, BlockingProducerAndThreeConsumersOnOneObject)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("threads"), 1000, 3);
    const auto rail = NewRail();
    ASSERT_EQ(rail->Create(&descriptor), FLOW_RAIL_OK);
    uint64_t tokens[3] = {};
    for (uint64_t& token : tokens)
        ASSERT_EQ(rail->AddConsumer(&token), FLOW_RAIL_OK);

    std::vector<std::thread> threads;
    threads.emplace_back([&rail] { Produce(*rail, 1000, 20000, kLongMs); });
    for (const uint64_t token : tokens)
        threads.emplace_back([&rail, token] { Consume(*rail, token, 1000, 20000, kLongMs); });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Threads, PollingSidesMeetToo)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("polling"), 64, 2);
    const auto rail = NewRail();
    ASSERT_EQ(rail->Create(&descriptor), FLOW_RAIL_OK);
    uint64_t token = 0;
    ASSERT_EQ(rail->AddConsumer(&token), FLOW_RAIL_OK);

    std::thread producer([&rail] { Produce(*rail, 64, 20000, 0); });
    Consume(*rail, token, 64, 20000, 0);
    producer.join();
}

TEST(Threads, ConsumersJoinAndLeaveOneObjectWhileItsProducerRuns)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("joining"), 100, 4);
    const auto rail = NewRail();
    ASSERT_EQ(rail->Create(&descriptor), FLOW_RAIL_OK);
    std::atomic<int> running{3};
    std::vector<std::thread> guests;
    for (int guest = 0; guest < 3; ++guest)
        guests.emplace_back(
            [&rail, &running]
            {
                for (int round = 0; round < 300; ++round)
                {
                    uint64_t token = 0;
                    ASSERT_EQ(rail->AddConsumer(&token), FLOW_RAIL_OK);
                    int last = -1;
                    for (int index = 0; index < 3; ++index)
                    {
                        void* slot = nullptr;
                        ASSERT_EQ(rail->LockConsumer(&token, 100, kLongMs, &slot), FLOW_RAIL_OK);
                        const uint8_t* const bytes = RailPair::Address(*rail, slot);
                        ASSERT_EQ(std::count(bytes, bytes + 100, bytes[0]), 100);
                        ASSERT_TRUE(last < 0 || bytes[0] == static_cast<uint8_t>(last + 1));
                        last = bytes[0];
                        ASSERT_EQ(rail->UnlockConsumer(&token, slot), FLOW_RAIL_OK);
                    }
                    ASSERT_EQ(rail->RemoveConsumer(&token), FLOW_RAIL_OK);
                }
                --running;
            });
    FLOW_RAIL_STATUS status{};
    for (uint64_t number = 0; running != 0; ++number)
    {
        void* slot = nullptr;
        const uint32_t result = rail->LockProducer(100, 1000, &slot);
        if (result == FLOW_RAIL_TIMEOUT) continue;
        ASSERT_EQ(result, FLOW_RAIL_OK);
        std::fill_n(RailPair::Address(*rail, slot), 100, static_cast<uint8_t>(number));
        ASSERT_EQ(rail->UnlockProducer(slot), FLOW_RAIL_OK);
        ASSERT_EQ(rail->GetStatus(&status), FLOW_RAIL_OK);
        ASSERT_LE(status.Consumers, 3u);
    }
    for (std::thread& guest : guests)
        guest.join();
}

TEST(Threads, TheTwoSidesOnObjectsOfTheirOwnUntilTheProducerCloses)
{
    RailPair pair(500, 3);
    pair.Join();
    std::thread consumer(
        [&pair]
        {
            Consume(*pair.Consumer, pair.Token, 500, 20000, kLongMs);
            void* slot = nullptr;
            EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 500, kLongMs, &slot), FLOW_RAIL_BAD_STATE);
        });
    Produce(*pair.Producer, 500, 20000, kLongMs);
    pair.Producer->Close();
    consumer.join();
}

TEST(Threads, LogSettingsMayChangeWhileALineIsWritten)
{
    std::thread writer(
        []
        {
            for (int round = 0; round < 200; ++round)
            {
                FLOW_RAIL_DESCRIPTOR missing = Describe(UniqueName("missing"), 100, 4);
                EXPECT_EQ(NewRail()->Open(&missing), FLOW_RAIL_BAD_STATE);
            }
        });
    for (int round = 0; round < 200; ++round)
        EXPECT_TRUE(CFlowRail::SetLoggingParameters({{"Event", "StdOutputLog"}, {"Filter", "Error"}}));
    writer.join();
    CFlowRail::SetLoggingParameters({});
}
