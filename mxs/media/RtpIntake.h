// The gate of a receive stream: takes the packets of one source once, whichever path brings them, and counts for each
// path and for all together what is missing.
#pragma once

#include "PathLosses.h"
#include "RtpPacket.h"
#include "SequenceTracker.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace mxs::media
{

struct PathCounters
{
    uint64_t received = 0; // packets of the source on this path
    uint64_t lost = 0;     // of the packets that any path told of, the ones that this path has not brought
};

struct IntakeCounters
{
    uint64_t lost = 0; // gaps that no path has filled
    uint64_t malformed = 0;
    uint64_t otherPayloadType = 0;
    uint64_t otherSource = 0;
    uint64_t duplicates = 0;
    uint32_t ssrc = 0; // of the source that is followed, 0 before the first packet
    std::vector<PathCounters> paths;
};

// A source that is silent for so long may be followed by another one, or begin to count anew.
constexpr uint64_t kSilenceNs = 1'000'000'000;

class RtpIntake
{
public:
    enum class Numbering
    {
        Short,   // the 16 bits of the RTP header
        Extended // the payload begins with 16 upper bits
    };
    struct Settings
    {
        uint8_t payloadType = 0;
        uint32_t ssrc = 0; // 0: the first that is heard
        size_t paths = 1;
        Numbering numbering = Numbering::Short;
    };
    struct Taken
    {
        RtpPacket packet;                 // refers to the datagram
        SequenceTracker::Verdict verdict; // never Duplicate
        bool afterSilence = false;        // another source, or the same one counting anew: nothing before belongs to it
    };

    explicit RtpIntake(const Settings& settings);

    // Nothing when the packet is of no use or came before; the counters say why.
    std::optional<Taken> Take(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs);

    // A late packet has found its place: the gap that it left is none any more.
    void Fill(const Taken& taken);

    // Counts what paths have not brought though others did; returns the time of the next look, UINT64_MAX for none.
    uint64_t Tick(uint64_t nowNs);

    void Forget(); // the next packet begins a new count, on every path

    // From then on the source is silent, if nothing more of it comes. Silence alone ends no stream: a source whose
    // numbers go on after it is heard as if there had been none.
    uint64_t SilentFromNs() const { return LastHeardNs + kSilenceNs; }
    bool IsSilent(uint64_t nowNs) const { return Heard && nowNs >= SilentFromNs(); }

    const IntakeCounters& Counters() const { return Count; }

private:
    bool HasPaths() const { return Config.paths > 1; } // a single path is the whole
    bool IsFollowed(uint32_t ssrc, uint64_t nowNs) const;
    SequenceTracker::Progress ProgressAt(uint64_t nowNs) const;

    const Settings Config;
    SequenceTracker Merged;
    PathLosses PathLoss;
    uint64_t CountedFrom = 0; // index of the packet with which the count of losses began
    uint64_t LastHeardNs = 0;
    uint64_t AdvancedNs =
        0; // when a number came that is higher than all before, or a new count began, on whichever path
    bool Heard = false;
    IntakeCounters Count;
};

} // namespace mxs::media
