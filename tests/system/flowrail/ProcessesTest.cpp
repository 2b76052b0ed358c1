// Rails between processes: who dies stalls nobody, and what was committed arrives.
#include "../../unit/flowrail/RailFixture.h"
#include "Process.h"

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

using namespace railtest;
using Quillmont::FlowRail::RailPath;

namespace
{
// One side of a rail in a child, with its results said aloud.
int OpenAndJoin(CFlowRail& rail, const FLOW_RAIL_DESCRIPTOR& descriptor, uint64_t* token)
{
    if (rail.Open(&descriptor) != FLOW_RAIL_OK) return 10;
    return rail.AddConsumer(token) == FLOW_RAIL_OK ? 0 : 11;
}

// A slot's bytes and records follow from its number, so that a reader can tell what it should have got.
uint32_t RecordsOf(uint64_t number)
{
    return static_cast<uint32_t>(std::minstd_rand(static_cast<uint32_t>(number) + 1)() % 256);
}
void WriteNumber(CFlowRail& rail, void* slot, uint32_t size, uint64_t number)
{
    uint8_t* address = nullptr;
    rail.GetSlotAddress(slot, &address);
    for (uint32_t offset = 0; offset + 8 <= size; offset += 8)
    {
        const uint64_t word = number * 1000003 + offset;
        std::memcpy(address + offset, &word, 8);
    }
}
bool HasNumber(CFlowRail& rail, void* slot, uint32_t size, uint64_t number)
{
    uint8_t* address = nullptr;
    if (rail.GetSlotAddress(slot, &address) != FLOW_RAIL_OK) return false;
    for (uint32_t offset = 0; offset + 8 <= size; offset += 8)
    {
        uint64_t word = 0;
        std::memcpy(&word, address + offset, 8);
        if (word != number * 1000003 + offset) return false;
    }
    return true;
}
uint32_t PutNumber(CFlowRail& rail, uint32_t size, uint64_t number, uint32_t timeoutMs)
{
    void* slot = nullptr;
    const uint32_t result = rail.LockProducer(size, timeoutMs, &slot);
    if (result != FLOW_RAIL_OK) return result;
    WriteNumber(rail, slot, size, number);
    return rail.UnlockProducer(slot);
}
constexpr uint32_t kLongMs = 20000;
} // namespace

TEST(Processes, AConsumerKilledWhileItHoldsASlotIsDroppedAndTheRingGoesOn)
{
    const std::string name = UniqueName("killed");
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(name, 4000, 4);
    Process victim(
        [&descriptor](const Line& line)
        {
            line.Hear();
            const auto rail = NewRail();
            uint64_t token = 0;
            if (const int code = OpenAndJoin(*rail, descriptor, &token)) return code;
            line.Say(1);
            void* slot = nullptr;
            if (rail->LockConsumer(&token, 4000, kLongMs, &slot) != FLOW_RAIL_OK) return 12;
            line.Say(2);
            line.Hear();
            return 13;
        });
    const auto producer = NewRail(), reader = NewRail();
    ASSERT_EQ(producer->Create(&descriptor), FLOW_RAIL_OK);
    ASSERT_EQ(reader->Open(&descriptor), FLOW_RAIL_OK);
    uint64_t token = 0;
    ASSERT_EQ(reader->AddConsumer(&token), FLOW_RAIL_OK);
    victim.Talk().Say(0);
    ASSERT_EQ(victim.Talk().Hear(), 1u);
    for (uint64_t number = 0; number < 4; ++number)
        ASSERT_EQ(PutNumber(*producer, 4000, number, 0), FLOW_RAIL_OK);
    ASSERT_EQ(victim.Talk().Hear(), 2u);
    void* slot = nullptr;
    for (uint64_t number = 0; number < 4; ++number)
    {
        ASSERT_EQ(reader->LockConsumer(&token, 4000, 0, &slot), FLOW_RAIL_OK);
        ASSERT_TRUE(HasNumber(*reader, slot, 4000, number));
        ASSERT_EQ(reader->UnlockConsumer(&token, slot), FLOW_RAIL_OK);
    }
    ASSERT_EQ(PutNumber(*producer, 4000, 4, 0), FLOW_RAIL_TIMEOUT); // the living one holds all four
    FLOW_RAIL_STATUS status{};
    ASSERT_EQ(producer->GetStatus(&status), FLOW_RAIL_OK);
    EXPECT_EQ(status.Consumers, 2u);

    victim.Kill();

    ASSERT_EQ(producer->GetStatus(&status), FLOW_RAIL_OK);
    EXPECT_EQ(status.Consumers, 1u);
    for (uint64_t number = 4; number < 20; ++number)
    {
        ASSERT_EQ(PutNumber(*producer, 4000, number, kLongMs), FLOW_RAIL_OK);
        ASSERT_EQ(reader->LockConsumer(&token, 4000, 0, &slot), FLOW_RAIL_OK);
        ASSERT_TRUE(HasNumber(*reader, slot, 4000, number));
        ASSERT_EQ(reader->UnlockConsumer(&token, slot), FLOW_RAIL_OK);
    }
    ASSERT_EQ(reader->RemoveConsumer(&token), FLOW_RAIL_OK);
}

TEST(Processes, ASpaceThatAKilledConsumerHeldComesBackWithoutALock)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("space"), 4000, 4);
    Process victim(
        [&descriptor](const Line& line)
        {
            line.Hear();
            const auto rail = NewRail();
            uint64_t token = 0;
            if (const int code = OpenAndJoin(*rail, descriptor, &token)) return code;
            line.Say(1);
            line.Hear();
            return 12;
        });
    const auto producer = NewRail();
    ASSERT_EQ(producer->Create(&descriptor), FLOW_RAIL_OK);
    victim.Talk().Say(0);
    ASSERT_EQ(victim.Talk().Hear(), 1u);
    for (uint64_t number = 0; number < 4; ++number)
        ASSERT_EQ(PutNumber(*producer, 4000, number, 0), FLOW_RAIL_OK);
    EXPECT_EQ(producer->GetProducerSpace(0), 0u); // it lives

    victim.Kill();

    const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLongMs);
    while (producer->GetProducerSpace(0) == 0 && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(producer->GetProducerSpace(0), 16000u);
}

TEST(Processes, AProducerKilledWhileItWritesLeavesWhatItCommittedAndNothingElse)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("writer"), 4000, 4);
    Process writer(
        [&descriptor](const Line& line)
        {
            const auto rail = NewRail();
            FLOW_RAIL_DESCRIPTOR own = descriptor;
            if (rail->Create(&own) != FLOW_RAIL_OK) return 10;
            line.Say(1);
            line.Hear();
            for (uint64_t number = 0; number < 2; ++number)
                if (PutNumber(*rail, 4000, number, 0) != FLOW_RAIL_OK) return 11;
            void *early = nullptr, *late = nullptr;
            if (rail->LockProducer(4000, 0, &early) != FLOW_RAIL_OK) return 12;
            if (rail->LockProducer(4000, 0, &late) != FLOW_RAIL_OK) return 13;
            WriteNumber(*rail, late, 4000, 3);
            rail->UnlockProducer(late); // committed, but behind one that is not
            line.Say(2);
            line.Hear();
            return 14;
        });
    ASSERT_EQ(writer.Talk().Hear(), 1u);
    const auto reader = NewRail();
    uint64_t token = 0;
    ASSERT_EQ(OpenAndJoin(*reader, descriptor, &token), 0);
    writer.Talk().Say(0);
    ASSERT_EQ(writer.Talk().Hear(), 2u);

    writer.Kill();

    void* slot = nullptr;
    for (uint64_t number = 0; number < 2; ++number)
    {
        ASSERT_EQ(reader->LockConsumer(&token, 4000, kLongMs, &slot), FLOW_RAIL_OK);
        EXPECT_TRUE(HasNumber(*reader, slot, 4000, number));
        ASSERT_EQ(reader->UnlockConsumer(&token, slot), FLOW_RAIL_OK);
    }
    EXPECT_EQ(reader->LockConsumer(&token, 4000, kLongMs, &slot), FLOW_RAIL_BAD_STATE);
    uint32_t remaining = 0;
    uint32_t alignment = FLOW_RAIL_BAD_ARGUMENT; // found out within some milliseconds
    while (alignment == FLOW_RAIL_BAD_ARGUMENT)
        alignment = reader->GetConsumerAlignment(&token, &remaining);
    EXPECT_EQ(alignment, FLOW_RAIL_BAD_STATE);
    FLOW_RAIL_STATUS status{};
    ASSERT_EQ(reader->GetStatus(&status), FLOW_RAIL_OK);
    EXPECT_EQ(status.ProducerState, 2u);
    EXPECT_EQ(status.CreatorAlive, 0u);
    EXPECT_EQ(reader->RemoveConsumer(&token), FLOW_RAIL_OK);
    EXPECT_EQ(reader->Close(), FLOW_RAIL_OK);

    // Its file is still there: nobody opens it any more, and the next start of a service removes it.
    EXPECT_EQ(NewRail()->Open(&descriptor), FLOW_RAIL_BAD_STATE);
    EXPECT_EQ(CFlowRailFactory::RemoveAbandoned(descriptor.Description.find("Name")->second), 1u);
    EXPECT_FALSE(std::filesystem::exists(RailPath(descriptor.Description.find("Name")->second)));
}

TEST(Processes, ASleepingConsumerFindsOutThatItsProducerWasKilled)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("orphan"), 4000, 4);
    Process writer(
        [&descriptor](const Line& line)
        {
            const auto rail = NewRail();
            FLOW_RAIL_DESCRIPTOR own = descriptor;
            if (rail->Create(&own) != FLOW_RAIL_OK) return 10;
            line.Say(1);
            line.Hear();
            raise(SIGKILL); // while the other one waits, or a moment before
            return 11;
        });
    ASSERT_EQ(writer.Talk().Hear(), 1u);
    const auto reader = NewRail();
    uint64_t token = 0;
    ASSERT_EQ(OpenAndJoin(*reader, descriptor, &token), 0);
    writer.Talk().Say(0);
    void* slot = nullptr;

    EXPECT_EQ(reader->LockConsumer(&token, 4000, 600000, &slot), FLOW_RAIL_BAD_STATE);

    EXPECT_EQ(writer.Wait(), 1000 + SIGKILL);
    CFlowRailFactory::RemoveAbandoned(descriptor.Description.find("Name")->second);
}

TEST(Processes, OnATransmitRailTheProducerGets8WhenItsConsumerWasKilled)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("service"), 4000, 4, "consumer");
    Process service(
        [&descriptor](const Line& line)
        {
            const auto rail = NewRail();
            FLOW_RAIL_DESCRIPTOR own = descriptor;
            uint64_t token = 0;
            if (rail->Create(&own) != FLOW_RAIL_OK || rail->AddConsumer(&token) != FLOW_RAIL_OK) return 10;
            line.Say(1);
            line.Hear();
            return 11;
        });
    ASSERT_EQ(service.Talk().Hear(), 1u);
    const auto producer = NewRail();
    ASSERT_EQ(producer->Open(&descriptor), FLOW_RAIL_OK);
    for (uint64_t number = 0; number < 4; ++number)
        ASSERT_EQ(PutNumber(*producer, 4000, number, 0), FLOW_RAIL_OK);

    service.Kill();

    EXPECT_EQ(PutNumber(*producer, 4000, 4, 600000), FLOW_RAIL_BAD_STATE);
    EXPECT_EQ(producer->Close(), FLOW_RAIL_OK);
    CFlowRailFactory::RemoveAbandoned(descriptor.Description.find("Name")->second);
}

TEST(Processes, AConsumerThatStopsReadingHoldsTheRingUntilItGoesOn)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("stopped"), 4000, 4);
    Process sleeper(
        [&descriptor](const Line& line)
        {
            line.Hear();
            const auto rail = NewRail();
            uint64_t token = 0;
            if (const int code = OpenAndJoin(*rail, descriptor, &token)) return code;
            line.Say(1);
            for (uint64_t number = 0; number < 8; ++number)
            {
                void* slot = nullptr;
                if (rail->LockConsumer(&token, 4000, kLongMs, &slot) != FLOW_RAIL_OK) return 12;
                if (!HasNumber(*rail, slot, 4000, number)) return 13;
                if (number == 0) raise(SIGSTOP);
                if (rail->UnlockConsumer(&token, slot) != FLOW_RAIL_OK) return 14;
            }
            return 0;
        });
    const auto producer = NewRail();
    ASSERT_EQ(producer->Create(&descriptor), FLOW_RAIL_OK);
    sleeper.Talk().Say(0);
    ASSERT_EQ(sleeper.Talk().Hear(), 1u);
    for (uint64_t number = 0; number < 4; ++number)
        ASSERT_EQ(PutNumber(*producer, 4000, number, 0), FLOW_RAIL_OK);

    // Stopped is not dead: it is waited for, however often the producer looks.
    for (int attempt = 0; attempt < 4; ++attempt)
        EXPECT_EQ(PutNumber(*producer, 4000, 4, 25), FLOW_RAIL_TIMEOUT);
    FLOW_RAIL_STATUS status{};
    ASSERT_EQ(producer->GetStatus(&status), FLOW_RAIL_OK);
    EXPECT_EQ(status.Consumers, 1u);

    sleeper.Signal(SIGCONT);
    // It may stop only after this: the signal is repeated until the slots flow.
    for (uint64_t number = 4; number < 8;)
    {
        const uint32_t result = PutNumber(*producer, 4000, number, 20);
        if (result == FLOW_RAIL_OK)
            ++number;
        else
            ASSERT_EQ(result, FLOW_RAIL_TIMEOUT);
        sleeper.Signal(SIGCONT);
    }
    EXPECT_EQ(sleeper.Wait(), 0);
}

TEST(Processes, TwoConsumersAtDifferentSpeedsGetEverySlotOfAHundredThousandWithAllItsRecords)
{
    constexpr uint64_t kSlots = 100000;
    constexpr uint32_t kSlotBytes = 1000; // no divisor of the page: slots wrap at every place
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("speeds"), kSlotBytes, 7);
    const auto read = [&descriptor](const Line& line, uint64_t pauseEvery)
    {
        line.Hear();
        const auto rail = NewRail();
        uint64_t token = 0;
        if (const int code = OpenAndJoin(*rail, descriptor, &token)) return code;
        line.Say(1);
        std::vector<FLOW_RAIL_METADATA> records(256);
        for (uint64_t number = 0; number < kSlots; ++number)
        {
            void* slot = nullptr;
            uint32_t count = 0;
            if (rail->LockConsumer(&token, kSlotBytes, kLongMs, &slot) != FLOW_RAIL_OK) return 12;
            if (!HasNumber(*rail, slot, kSlotBytes, number)) return 13;
            if (rail->GetMetadata(slot, 3, records.data(), 256, &count) != FLOW_RAIL_OK) return 14;
            if (count != std::min(RecordsOf(number), 255u)) return 15;
            for (uint32_t index = 0; index < count; ++index)
                if (records[index].Position != index || records[index].Value != static_cast<uint32_t>(number))
                    return 16;
            if (rail->GetMetadataCount(slot, 2, &count) != FLOW_RAIL_OK || count != 1) return 17;
            if (number % pauseEvery == 0) usleep(100);
            if (rail->UnlockConsumer(&token, slot) != FLOW_RAIL_OK) return 18;
        }
        void* slot = nullptr;
        return rail->LockConsumer(&token, kSlotBytes, kLongMs, &slot) == FLOW_RAIL_BAD_STATE ? 0 : 19; // closed
    };
    Process fast([&read](const Line& line) { return read(line, 1 << 30); });
    Process slow([&read](const Line& line) { return read(line, 50); });
    const auto producer = NewRail();
    ASSERT_EQ(producer->Create(&descriptor), FLOW_RAIL_OK);
    for (const Process* child : {&fast, &slow})
    {
        child->Talk().Say(0);
        ASSERT_EQ(child->Talk().Hear(), 1u);
    }

    for (uint64_t number = 0; number < kSlots; ++number)
    {
        void* slot = nullptr;
        ASSERT_EQ(producer->LockProducer(kSlotBytes, kLongMs, &slot), FLOW_RAIL_OK);
        WriteNumber(*producer, slot, kSlotBytes, number);
        for (uint32_t index = 0; index < RecordsOf(number); ++index)
            ASSERT_EQ(producer->AddMetadata(slot, 3, index, static_cast<uint32_t>(number)), FLOW_RAIL_OK);
        ASSERT_EQ(producer->AddMetadata(slot, 2, kSlotBytes - 1, 0), FLOW_RAIL_OK); // never refused
        ASSERT_EQ(producer->UnlockProducer(slot), FLOW_RAIL_OK);
    }
    producer->Close();

    EXPECT_EQ(fast.Wait(), 0);
    EXPECT_EQ(slow.Wait(), 0);
}

TEST(Processes, ConsumersThatComeAndGoWhileTheRingRunsFindWholeSlots)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("guests"), 1000, 5);
    const auto visit = [&descriptor](const Line& line)
    {
        line.Hear();
        const auto rail = NewRail();
        if (rail->Open(&descriptor) != FLOW_RAIL_OK) return 10;
        for (int round = 0; round < 200; ++round)
        {
            uint64_t token = 0, number = 0;
            void* slot = nullptr;
            uint32_t remaining = 0, result = 0;
            if (rail->AddConsumer(&token) != FLOW_RAIL_OK) return 11;
            while ((result = rail->GetConsumerAlignment(&token, &remaining)) == FLOW_RAIL_BAD_ARGUMENT)
                sched_yield();
            if (result != FLOW_RAIL_OK) return 12;
            if (remaining != 1000) // the ring is written in halves
            {
                if (rail->LockConsumer(&token, remaining, kLongMs, &slot) != FLOW_RAIL_OK) return 13;
                if (rail->UnlockConsumer(&token, slot) != FLOW_RAIL_OK) return 14;
            }
            for (int index = 0; index < 3; ++index)
            {
                if (rail->LockConsumer(&token, 1000, kLongMs, &slot) != FLOW_RAIL_OK) return 15;
                uint8_t* address = nullptr;
                rail->GetSlotAddress(slot, &address);
                uint64_t first = 0, second = 0;
                std::memcpy(&first, address, 8);
                std::memcpy(&second, address + 500, 8);
                if (second != first + 1 || (index > 0 && first != number + 2)) return 16;
                number = first;
                if (rail->UnlockConsumer(&token, slot) != FLOW_RAIL_OK) return 17;
            }
            if (round % 2 == 0) rail->LockConsumer(&token, 500, 1, &slot); // some leave with a slot locked
            if (rail->RemoveConsumer(&token) != FLOW_RAIL_OK) return 18;
        }
        line.Say(2);
        return 0;
    };
    Process first(visit), second(visit);
    const auto producer = NewRail();
    ASSERT_EQ(producer->Create(&descriptor), FLOW_RAIL_OK);
    first.Talk().Say(0);
    second.Talk().Say(0);

    std::atomic<int> running{2};
    std::vector<std::thread> listeners;
    for (const Process* child : {&first, &second})
        listeners.emplace_back(
            [child, &running]
            {
                child->Talk().Hear();
                --running;
            });
    for (uint64_t number = 0; running != 0; ++number)
    {
        void* slot = nullptr;
        const uint32_t result = producer->LockProducer(500, 1000, &slot);
        if (result == FLOW_RAIL_TIMEOUT) continue;
        ASSERT_EQ(result, FLOW_RAIL_OK);
        uint8_t* address = nullptr;
        ASSERT_EQ(producer->GetSlotAddress(slot, &address), FLOW_RAIL_OK);
        std::memcpy(address, &number, 8);
        ASSERT_EQ(producer->UnlockProducer(slot), FLOW_RAIL_OK);
    }
    for (std::thread& listener : listeners)
        listener.join();

    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
}

TEST(Processes, APlaceOfAKilledConsumerServesTheNext)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("places"), 100, 4);
    Process victim(
        [&descriptor](const Line& line)
        {
            line.Hear();
            const auto rail = NewRail();
            if (rail->Open(&descriptor) != FLOW_RAIL_OK) return 10;
            for (int place = 0; place < 16; ++place)
            {
                uint64_t token = 0;
                if (rail->AddConsumer(&token) != FLOW_RAIL_OK) return 11;
            }
            line.Say(1);
            line.Hear();
            return 12;
        });
    const auto producer = NewRail(), reader = NewRail();
    ASSERT_EQ(producer->Create(&descriptor), FLOW_RAIL_OK);
    ASSERT_EQ(reader->Open(&descriptor), FLOW_RAIL_OK);
    victim.Talk().Say(0);
    ASSERT_EQ(victim.Talk().Hear(), 1u);
    uint64_t token = 0;
    ASSERT_EQ(reader->AddConsumer(&token), FLOW_RAIL_NO_MEMORY);

    victim.Kill();

    ASSERT_EQ(reader->AddConsumer(&token), FLOW_RAIL_OK);
    for (uint64_t number = 0; number < 20; ++number)
    {
        void* slot = nullptr;
        ASSERT_EQ(PutNumber(*producer, 100, number, kLongMs), FLOW_RAIL_OK);
        ASSERT_EQ(reader->LockConsumer(&token, 100, 0, &slot), FLOW_RAIL_OK);
        ASSERT_EQ(reader->UnlockConsumer(&token, slot), FLOW_RAIL_OK);
    }
    FLOW_RAIL_STATUS status{};
    ASSERT_EQ(producer->GetStatus(&status), FLOW_RAIL_OK);
    EXPECT_EQ(status.Consumers, 1u);
}

TEST(Processes, AFullSharedMemoryIsAnErrorAndNoSignal)
{
    Process child(
        [](const Line&)
        {
            // A shared memory of 1 MiB of its own, in a namespace of its own.
            const uid_t user = getuid();
            const gid_t group = getgid();
            if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return 77;
            std::ofstream("/proc/self/uid_map") << user << " " << user << " 1";
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/gid_map") << group << " " << group << " 1";
            if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 77;
            if (mount("small", "/dev/shm", "tmpfs", 0, "size=1m") != 0) return 77;
            FLOW_RAIL_DESCRIPTOR big = Describe(UniqueName("big"), 1 << 20, 4);
            FLOW_RAIL_DESCRIPTOR small = Describe(UniqueName("small"), 4096, 4);
            const auto rail = NewRail(), other = NewRail();
            if (rail->Create(&big) != FLOW_RAIL_NO_MEMORY) return 10;
            if (!std::filesystem::is_empty("/dev/shm")) return 11;
            if (rail->Create(&small) != FLOW_RAIL_OK) return 12; // and the object is good for another try
            if (other->Create(&big) != FLOW_RAIL_NO_MEMORY) return 13;
            return PutNumber(*rail, 4096, 1, 0) == FLOW_RAIL_OK ? 0 : 14;
        });

    const int code = child.Wait();

    if (code == 77) GTEST_SKIP() << "this machine gives no user namespace with a mount of its own";
    EXPECT_EQ(code, 0);
}

TEST(Processes, AFileSizeLimitIsAnError)
{
    Process child(
        [](const Line&)
        {
            std::signal(SIGXFSZ, SIG_IGN);
            rlimit limit{1 << 20, 1 << 20};
            if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 9;
            FLOW_RAIL_DESCRIPTOR big = Describe(UniqueName("limited"), 1 << 20, 4);
            if (NewRail()->Create(&big) != FLOW_RAIL_NO_MEMORY) return 10;
            return std::filesystem::exists(RailPath(big.Description.find("Name")->second)) ? 11 : 0;
        });

    EXPECT_EQ(child.Wait(), 0);
}
