// Follows the sequence numbers of one RTP source: which packet is new, which came twice, how many are missing.
#pragma once

#include <cstdint>
#include <vector>

namespace mxs::media
{

class SequenceTracker
{
public:
    enum class Arrival
    {
        New,       // the highest number so far
        Late,      // an older number, for the first time
        Duplicate, // seen before
        Restart    // the source began to count anew; nothing is known to be missing
    };
    struct Verdict
    {
        Arrival arrival;
        uint64_t index;   // the number, unwrapped; the order of packets
        uint64_t missing; // with New: numbers between this one and the highest before it
    };

    // What two numbers in a row that are behind the highest say of the source.
    enum class Progress
    {
        Steady,        // from far behind they are a new count
        GoesOnOutside, // another path brings higher ones: they are late, from wherever
        Stalled        // there have been no higher ones for long: they are a new count, from wherever
    };

    SequenceTracker();

    // `upperHalf` is what the payload carries. Senders either move it at a wrap or leave it alone for ever.
    Verdict Accept(uint16_t sequence, uint16_t upperHalf, Progress progress = Progress::Steady);

    // True for one of the numbers that are next after the highest: what a source sends that was only silent.
    bool GoesOn(uint16_t sequence, uint16_t upperHalf) const;

    // The next packet is a Restart: the source was away, or was not listened to.
    void Forget();

private:
    bool TestAndSet(uint64_t index);
    Verdict Restart(uint32_t number);
    int64_t DistanceTo(uint32_t number) const;

    bool Known = false;
    uint32_t HighestNumber = 0; // 32 bits as sent
    uint64_t HighestIndex = 0;
    bool SuspectValid = false;
    uint32_t SuspectNext = 0; // the number that would prove a restart
    std::vector<uint64_t> Seen;
};

} // namespace mxs::media
