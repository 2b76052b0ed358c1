// Each kernel that this processor has gives the bytes of the scalar one, whose own are written down by hand in
// SampleConversionTest, and touches nothing outside of its run: pages that nobody may touch lie on both sides.
#include "mxs/media/SampleConversion.h"

#include "Packets.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace mxs::media;
using mxs::media::test::Bytes;

namespace
{

constexpr uint64_t kMostGroups = 200;
constexpr uint64_t kMostFirst = 3;
constexpr uint8_t kGuard = 0xA5;

// Some pages with one before and one behind them that end the program when they are touched.
class GuardedPages
{
public:
    explicit GuardedPages(size_t bytes)
        : PageBytes(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
          RoomBytes((bytes + PageBytes - 1) / PageBytes * PageBytes),
          Mapped(mmap(nullptr, RoomBytes + 2 * PageBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        EXPECT_NE(Mapped, MAP_FAILED);
        EXPECT_EQ(mprotect(Begin(), RoomBytes, PROT_READ | PROT_WRITE), 0);
    }
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;
    ~GuardedPages() { munmap(Mapped, RoomBytes + 2 * PageBytes); }

    uint8_t* Begin() const { return static_cast<uint8_t*>(Mapped) + PageBytes; }
    // The last `bytes` bytes, or the first.
    uint8_t* Place(size_t bytes, bool atEnd) const { return atEnd ? Begin() + RoomBytes - bytes : Begin(); }
    size_t Bytes() const { return RoomBytes; }
    void Fill(uint8_t byte) const { std::memset(Begin(), byte, RoomBytes); }
    void Fill(const std::vector<uint8_t>& bytes) const { std::copy(bytes.begin(), bytes.end(), Begin()); }
    bool SameAs(const GuardedPages& other) const { return std::memcmp(Begin(), other.Begin(), RoomBytes) == 0; }

private:
    const size_t PageBytes, RoomBytes;
    void* const Mapped;
};

struct KernelCase
{
    SampleKernel kernel;
    uint32_t sampling;
    uint32_t networkDepth;
    BitProperties application;
};

std::string NameOf(const KernelCase& test)
{
    const BitProperties& application = test.application;
    return std::string(test.kernel == SampleKernel::Avx2 ? "Avx2" : "Scalar") + (test.sampling == 1 ? "422x" : "444x") +
           std::to_string(test.networkDepth) + "To" + std::to_string(DepthBits(application.depth)) + "In" +
           (application.padding == kPacked ? "Packed" : std::to_string(StoredBits(application))) +
           (application.endianness == kLittleEndian ? "Little" : "Big");
}

// Other samplings have the groups of these two.
std::vector<KernelCase> AllCases()
{
    std::vector<KernelCase> cases;
    for (const SampleKernel kernel : KernelsOfThisProcessor())
        for (const uint32_t sampling : {kYCbCr422, kYCbCr444})
            for (const uint32_t networkDepth : {8u, 10u, 12u})
                for (const uint32_t depth : {0u, 1u, 2u})
                    for (const uint32_t padding : {0u, 1u, 2u})
                        for (const uint32_t endianness : {0u, 1u})
                            if (kernel != SampleKernel::Scalar)
                                cases.push_back(
                                    {kernel, sampling, networkDepth, {sampling, depth, padding, endianness}});
    return cases;
}

// The two converters of a case, and room for its runs.
struct Compared
{
    explicit Compared(const KernelCase& test)
        : Network(*FindPixelGroup(test.sampling, test.networkDepth)),
          Reference(Network, test.application, SampleKernel::Scalar), Tested(Network, test.application, test.kernel),
          GroupBits(uint64_t{Network.components} * StoredBits(test.application))
    {
    }
    size_t SlotBytes(uint64_t groups) const { return (groups * GroupBits + 7) / 8; }
    size_t PayloadBytes(uint64_t groups) const { return groups * Network.bytes; }

    const PixelGroup& Network;
    const SampleConverter Reference, Tested;
    const uint64_t GroupBits;
};

class SampleKernels : public testing::Test
{
protected:
    void SetUp() override
    {
        if (AllCases().empty()) GTEST_SKIP() << "this processor has the scalar kernel alone";
    }
};

Bytes RandomBytes(size_t count)
{
    std::mt19937 random(1);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<uint8_t>(random()); });
    return bytes;
}

} // namespace

// Every count of groups, with a first group that changes from one to the next: a run begins at any component and byte.
TEST_F(SampleKernels, PutTheSameBytesIntoTheSlotAndNoneBesideThem)
{
    for (const KernelCase& test : AllCases())
    {
        const Compared both(test);
        const GuardedPages payloads(both.PayloadBytes(kMostGroups));
        const GuardedPages expected(both.SlotBytes(kMostFirst + kMostGroups)), slots(expected.Bytes());
        payloads.Fill(RandomBytes(payloads.Bytes()));
        for (uint64_t groups = 0; groups <= kMostGroups; ++groups)
        {
            const bool atEnd = groups % 3 != 0;
            const uint64_t first = groups % (kMostFirst + 1);
            const size_t slotBytes = both.SlotBytes(first + groups);
            const uint8_t* const payload = payloads.Place(both.PayloadBytes(groups), atEnd);
            expected.Fill(kGuard);
            slots.Fill(kGuard);

            both.Reference.Write(expected.Place(slotBytes, atEnd), first, payload, groups);
            both.Tested.Write(slots.Place(slotBytes, atEnd), first, payload, groups);

            ASSERT_TRUE(slots.SameAs(expected)) << NameOf(test) << ": " << groups << " groups from " << first;
        }
    }
}

TEST_F(SampleKernels, TakeTheSameBytesOutOfTheSlotAndReadNoneBesideThem)
{
    for (const KernelCase& test : AllCases())
    {
        const Compared both(test);
        const GuardedPages slots(both.SlotBytes(kMostFirst + kMostGroups));
        const GuardedPages expected(both.PayloadBytes(kMostGroups)), payloads(expected.Bytes());
        slots.Fill(RandomBytes(slots.Bytes())); // in words far beyond the depth too
        for (uint64_t groups = 0; groups <= kMostGroups; ++groups)
        {
            const bool atEnd = groups % 3 != 0;
            const uint64_t first = groups % (kMostFirst + 1);
            const size_t payloadBytes = both.PayloadBytes(groups);
            const uint8_t* const slot = slots.Place(both.SlotBytes(first + groups), atEnd);
            expected.Fill(kGuard);
            payloads.Fill(kGuard);

            both.Reference.Read(slot, first, expected.Place(payloadBytes, atEnd), groups);
            both.Tested.Read(slot, first, payloads.Place(payloadBytes, atEnd), groups);

            ASSERT_TRUE(payloads.SameAs(expected)) << NameOf(test) << ": " << groups << " groups from " << first;
        }
    }
}

// Numbers at the borders of each depth, where random ones seldom are.
TEST_F(SampleKernels, RoundAndCutNumbersAtTheBordersAsTheScalarOneDoes)
{
    const uint8_t borders[] = {0x00, 0x01, 0x03, 0x04, 0x07, 0x0F, 0x10, 0x7F, 0x80, 0xFC, 0xFD, 0xFE, 0xFF};
    const uint64_t groups = 16;
    for (const KernelCase& test : AllCases())
    {
        const Compared both(test);
        for (const uint8_t high : borders)
            for (const uint8_t low : borders)
            {
                Bytes slot(both.SlotBytes(groups));
                for (size_t i = 0; i < slot.size(); ++i)
                    slot[i] = i % 4 == 0 ? low : i % 4 == 1 ? high : uint8_t{0};
                Bytes expected(both.PayloadBytes(groups)), payload(expected.size());

                both.Reference.Read(slot.data(), 0, expected.data(), groups);
                both.Tested.Read(slot.data(), 0, payload.data(), groups);

                ASSERT_EQ(payload, expected) << NameOf(test) << ": " << int{high} << " " << int{low};
            }
    }
}
