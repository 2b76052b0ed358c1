// Sequence numbers of one source: a bit for each of the latest numbers.
#include "SequenceTracker.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

constexpr int64_t kWindow = 32768;       // numbers behind the highest whose arrival is remembered
constexpr int64_t kReorderLimit = 16384; // an older number than this is a late packet or a source that began anew
constexpr int64_t kJumpLimit = 1 << 24;  // a step beyond is no loss but another way of counting
constexpr int64_t kGoesOnLimit = 64;     // some of the next numbers may be lost
constexpr uint64_t kFirstIndex = 1ULL << 32;

uint32_t NumberOf(uint16_t sequence, uint16_t upperHalf)
{
    return static_cast<uint32_t>(upperHalf) << 16 | sequence;
}

} // namespace

SequenceTracker::SequenceTracker() : Seen(static_cast<size_t>(kWindow) / 64) {}

bool SequenceTracker::GoesOn(uint16_t sequence, uint16_t upperHalf) const
{
    const int64_t distance = DistanceTo(NumberOf(sequence, upperHalf));
    return Known && distance > 0 && distance <= kGoesOnLimit;
}

void SequenceTracker::Forget()
{
    Known = false;
    SuspectValid = false;
}

bool SequenceTracker::TestAndSet(uint64_t index)
{
    uint64_t& word = Seen[index / 64 % Seen.size()];
    const uint64_t bit = 1ULL << (index % 64);
    const bool before = word & bit;
    word |= bit;
    return before;
}

SequenceTracker::Verdict SequenceTracker::Restart(uint32_t number)
{
    // Far enough ahead that no older number can be taken for one of the new count.
    HighestIndex = (HighestIndex ? HighestIndex : kFirstIndex) + 2 * kWindow;
    HighestNumber = number;
    Known = true;
    SuspectValid = false;
    std::fill(Seen.begin(), Seen.end(), 0);
    TestAndSet(HighestIndex);
    return {Arrival::Restart, HighestIndex, 0};
}

int64_t SequenceTracker::DistanceTo(uint32_t number) const
{
    // An equal upper half says nothing, because it may stand still for ever: the nearer way round is taken. A
    // different one comes from a sender that moves it, and then all 32 bits count.
    if (number >> 16 == HighestNumber >> 16)
        return static_cast<int16_t>(static_cast<uint16_t>(number) - static_cast<uint16_t>(HighestNumber));
    return static_cast<int32_t>(number - HighestNumber);
}

SequenceTracker::Verdict SequenceTracker::Accept(uint16_t sequence, uint16_t upperHalf, Progress progress)
{
    const uint32_t number = NumberOf(sequence, upperHalf);
    if (!Known) return Restart(number);

    const int64_t distance = DistanceTo(number);
    if (distance > kJumpLimit || distance < -kJumpLimit) return Restart(number);
    if (distance > 0)
    {
        const uint64_t index = HighestIndex + static_cast<uint64_t>(distance);
        if (distance >= kWindow)
            std::fill(Seen.begin(), Seen.end(), 0);
        else
            for (uint64_t passed = HighestIndex + 1; passed < index; ++passed)
                Seen[passed / 64 % Seen.size()] &= ~(1ULL << (passed % 64));
        Seen[index / 64 % Seen.size()] &= ~(1ULL << (index % 64));
        TestAndSet(index);
        HighestIndex = index;
        HighestNumber = number;
        SuspectValid = false;
        return {Arrival::New, index, static_cast<uint64_t>(distance) - 1};
    }

    const uint64_t index = HighestIndex - static_cast<uint64_t>(-distance);
    const bool far = -distance > kReorderLimit;
    if (progress == Progress::Stalled || (far && progress == Progress::Steady))
    {
        if (SuspectValid && SuspectNext == number) return Restart(number);
        SuspectValid = true;
        SuspectNext = (number & 0xFFFF0000u) | static_cast<uint16_t>(number + 1);
    }
    const bool before = -distance < kWindow && TestAndSet(index);
    return {before ? Arrival::Duplicate : Arrival::Late, index, 0};
}

} // namespace mxs::media
