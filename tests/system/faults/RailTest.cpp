// The file of a ring vanishes, or is overwritten, while the application and the service use it. Nobody may crash, hang
// or reach outside of it; calls fail or go on, and the next start is as good as the first.
//     system_faults_rail           the words of the header that mean something, several values in one life of a stream;
//                                  of pictures, which take their time, those that change with each slot
//     system_faults_rail --every   all words, those of a second table too, each value in a life of its own
#include "AncLoop.h"
#include "AudioLoop.h"
#include "CleanService.h"
#include "Leftovers.h"
#include "VideoLoop.h"
#include "flowrail/src/RailLayout.h"

#include <fcntl.h>
#include <filesystem>
#include <span>
#include <sys/mman.h>

using namespace test;
using Quillmont::FlowRail::kTablesOffset;
using Quillmont::FlowRail::RailGeometry;
using Quillmont::FlowRail::RailHeader;
using Quillmont::FlowRail::RailRecord;
using Quillmont::FlowRail::RailTable;

namespace
{

bool everyWord = false;

// Writes words into a ring's file, as any program of this user may.
class Scribbler
{
public:
    explicit Scribbler(const std::string& path)
    {
        const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        void* const mapped =
            file < 0 ? MAP_FAILED : ::mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (file >= 0) ::close(file);
        if (mapped == MAP_FAILED) throw std::runtime_error("the ring cannot be mapped: " + path);
        Words = static_cast<std::atomic<uint32_t>*>(mapped);
    }
    ~Scribbler() { ::munmap(Words, kBytes); }
    Scribbler(const Scribbler&) = delete;
    Scribbler& operator=(const Scribbler&) = delete;

    std::atomic<uint32_t>& Word(size_t offset) { return Words[offset / sizeof(uint32_t)]; }

private:
    static constexpr size_t kBytes = 16 * kTablesOffset; // the header and the first tables of records

    std::atomic<uint32_t>* Words;
};

// Header and records. `tableBytes`: from the records of a slot to those of the next.
std::vector<size_t> WordsToOverwrite(size_t tableBytes)
{
    std::vector<size_t> words;
    for (size_t offset = 0; offset < sizeof(RailHeader); offset += sizeof(uint32_t))
    {
        const bool packed = offset < offsetof(RailHeader, CommittedBytes) ||
                            (offset >= offsetof(RailHeader, ConsumerStates) && offset < offsetof(RailHeader, Released));
        if (everyWord || packed || offset % 64 < 12) words.push_back(offset); // the rest of a line is empty
    }
    constexpr size_t kRecords = 16; // the head and the first records of a slot
    for (size_t slot = 0; slot < (everyWord ? 2 : 1); ++slot)
        for (size_t word = 0; word < kRecords; ++word)
            words.push_back(kTablesOffset + slot * tableBytes + word * sizeof(uint32_t));
    return words;
}

constexpr size_t kWordsOfPictures[] = {
    offsetof(RailHeader, CommittedBytes),
    offsetof(RailHeader, ProducerState),
    offsetof(RailHeader, ConsumersAsleep),
    offsetof(RailHeader, ProducerAsleep),
    offsetof(RailHeader, ConsumerStates),
    offsetof(RailHeader, Released),
    kTablesOffset + offsetof(RailTable, SlotTag),
    kTablesOffset + offsetof(RailTable, Count),
    kTablesOffset + sizeof(RailTable) + offsetof(RailRecord, Position),
};

// What a word is overwritten with, from what it holds.
constexpr uint32_t (*kNewValues[])(uint32_t) = {
    [](uint32_t) { return uint32_t{0}; },
    [](uint32_t) { return uint32_t{1}; },
    [](uint32_t) { return uint32_t{0x80000000}; },
    [](uint32_t) { return UINT32_MAX; },
    [](uint32_t old) { return ~old; },
    [](uint32_t old) { return old + 1; },
};

class DamagedRail : public testing::Test
{
protected:
    std::vector<std::string> Rails() { return RailsOf(Service.ProcessId()); }

    void ExpectAWorkingPair() { ExpectToWork(Pair); }

    void ExpectToWork(StreamLoop& pair)
    {
        pair.Start();
        EXPECT_TRUE(pair.AwaitSlot());
        pair.Stop();
        EXPECT_TRUE(Rails().empty());
    }

    // Without --every the `chosen` ones, if there are any. A value stays for two periods: the service looks at its
    // rings once in each.
    void OverwriteEachWord(StreamLoop& pair, std::span<const size_t> chosen = {});

    CleanService Service;
    Session With{Service.ServiceUrl()};
    AudioLoop Pair{With};
};

TEST_F(DamagedRail, WithoutItsNameWorksOnAndLeavesNothing)
{
    Pair.Start();
    ASSERT_TRUE(Pair.AwaitSlot());
    ASSERT_EQ(2u, Rails().size());
    for (const std::string& rail : Rails())
        ASSERT_TRUE(std::filesystem::remove(rail));

    for (int slots = 0; slots < 12; ++slots) // more than the ring has
        EXPECT_TRUE(Pair.AwaitSlot());
    Pair.AskForStatus();
    Pair.Stop();

    ExpectAWorkingPair();
}

TEST_F(DamagedRail, OfAnotherFilesNameIsLeftToItsOwner)
{
    Pair.Start();
    ASSERT_EQ(2u, Rails().size());
    const std::vector<std::string> rails = Rails();
    for (const std::string& rail : rails)
    {
        ASSERT_TRUE(std::filesystem::remove(rail));
        std::ofstream(rail) << "somebody else's";
    }
    EXPECT_TRUE(Pair.AwaitSlot());
    Pair.Stop();
    for (const std::string& rail : rails)
        EXPECT_TRUE(std::filesystem::remove(rail)) << "the service has removed a file that is not its own";

    ExpectAWorkingPair();
}

void DamagedRail::OverwriteEachWord(StreamLoop& pair, std::span<const size_t> chosen)
{
    pair.Start();
    ASSERT_EQ(2u, Rails().size());
    const size_t tableBytes = Scribbler(Rails()[0]).Word(offsetof(RailGeometry, TableBytes));
    pair.Stop();

    size_t lives = 0, values = 0, slots = 0;
    const auto live = [&](size_t offset, size_t firstValue, size_t count)
    {
        pair.Start();
        ++lives;
        ASSERT_EQ(2u, Rails().size());
        Scribbler one(Rails()[0]), other(Rails()[1]);
        ASSERT_TRUE(pair.AwaitSlot());
        for (size_t value = firstValue; value < firstValue + count; ++value, ++values)
        {
            for (Scribbler* rail : {&one, &other})
                rail->Word(offset) = kNewValues[value](rail->Word(offset));
            slots += pair.WorkFor(2 * pair.Period);
        }
        pair.AskForStatus();
        pair.Stop();
    };
    constexpr size_t kValues = std::size(kNewValues);
    const std::vector<size_t> all = WordsToOverwrite(tableBytes);
    for (const size_t offset : everyWord || chosen.empty() ? std::span(all) : chosen)
    {
        SCOPED_TRACE(offset);
        for (size_t value = 0; everyWord && value < kValues; ++value)
            live(offset, value, 1);
        if (!everyWord) live(offset, 0, kValues);
        ASSERT_TRUE(Service.Running()) << Service.Log();
        if (HasFailure()) break;
    }
    std::printf("%zu values written in %zu lives of two streams, %zu slots read behind them\n", values, lives, slots);
    EXPECT_LT(0u, slots);
    EXPECT_TRUE(Rails().empty());
    ExpectToWork(pair);
}

TEST_F(DamagedRail, WithAnyWordOverwrittenEndsNobodyAndTheNextStartIsClean)
{
    OverwriteEachWord(Pair);
}

TEST_F(DamagedRail, OfAncillaryDataWithAnyWordOverwrittenEndsNobodyEither)
{
    AncLoop ancillary(With);
    OverwriteEachWord(ancillary, kWordsOfPictures);
}

TEST_F(DamagedRail, OfVideoWithAnyWordOverwrittenEndsNobodyEither)
{
    VideoLoop video(With);
    OverwriteEachWord(video, kWordsOfPictures);
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    everyWord = argc > 1 && std::string(argv[1]) == "--every";
    return RUN_ALL_TESTS();
}
