// Packet type, source and sequence of what arrives.
#include "RtpIntake.h"

namespace mxs::media
{

namespace
{

// A source that begins to count anew does so on all paths, and its old numbers go no further. A path that is so far
// behind that it seems to begin anew is of no use, and must not take the others along.
constexpr uint64_t kNewCountNs = 100'000'000;

// No two paths are so far apart, and no packet is so late: what comes from behind then is a source that was started
// anew before it was missed.
constexpr uint64_t kStalledNs = 500'000'000;

} // namespace

RtpIntake::RtpIntake(const Settings& settings) : Config(settings), PathLoss(HasPaths() ? settings.paths : 0)
{
    Count.paths.resize(Config.paths);
}

bool RtpIntake::IsFollowed(uint32_t ssrc, uint64_t nowNs) const
{
    if (Config.ssrc != 0) return ssrc == Config.ssrc;
    return !Heard || ssrc == Count.ssrc || IsSilent(nowNs);
}

SequenceTracker::Progress RtpIntake::ProgressAt(uint64_t nowNs) const
{
    if (nowNs >= AdvancedNs + kStalledNs) return SequenceTracker::Progress::Stalled;
    if (HasPaths() && nowNs < AdvancedNs + kNewCountNs) return SequenceTracker::Progress::GoesOnOutside;
    return SequenceTracker::Progress::Steady;
}

std::optional<RtpIntake::Taken> RtpIntake::Take(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs)
{
    const std::optional<RtpPacket> packet = ReadRtpPacket(datagram);
    if (!packet)
    {
        ++Count.malformed;
        return {};
    }
    if (packet->payloadType != Config.payloadType)
    {
        ++Count.otherPayloadType;
        return {};
    }
    if (!IsFollowed(packet->ssrc, nowNs))
    {
        ++Count.otherSource;
        return {};
    }
    // The number counts even if the rest of the packet is no good: it is not missing, it is malformed.
    const uint16_t upperHalf = Config.numbering == Numbering::Extended ? ReadExtendedSequence(packet->payload) : 0;
    Tick(nowNs); // before a source that has ended is forgotten
    Taken taken;
    taken.afterSilence = IsSilent(nowNs) && (packet->ssrc != Count.ssrc || !Merged.GoesOn(packet->sequence, upperHalf));
    if (taken.afterSilence) Forget();
    Heard = true;
    LastHeardNs = nowNs;
    Count.ssrc = packet->ssrc;
    PathCounters& counters = Count.paths[path];
    ++counters.received;
    taken.verdict = Merged.Accept(packet->sequence, upperHalf, ProgressAt(nowNs));
    const SequenceTracker::Arrival arrival = taken.verdict.arrival;
    if (arrival == SequenceTracker::Arrival::New || arrival == SequenceTracker::Arrival::Restart) AdvancedNs = nowNs;
    if (HasPaths())
    {
        PathLoss.Count(path, taken.verdict, nowNs);
        counters.lost = PathLoss.Lost(path);
    }
    if (arrival == SequenceTracker::Arrival::Duplicate)
    {
        ++Count.duplicates;
        return {};
    }
    if (arrival == SequenceTracker::Arrival::Restart) CountedFrom = taken.verdict.index;
    Count.lost += taken.verdict.missing;
    if (!HasPaths()) counters.lost = Count.lost;
    taken.packet = *packet;
    return taken;
}

void RtpIntake::Fill(const Taken& taken)
{
    const bool late = taken.verdict.arrival == SequenceTracker::Arrival::Late;
    if (late && taken.verdict.index > CountedFrom && Count.lost > 0) --Count.lost;
    if (!HasPaths()) Count.paths.front().lost = Count.lost;
}

void RtpIntake::Forget()
{
    Merged.Forget();
    PathLoss.Forget();
}

uint64_t RtpIntake::Tick(uint64_t nowNs)
{
    const uint64_t next = PathLoss.Judge(nowNs);
    for (size_t path = 0; HasPaths() && path < Config.paths; ++path)
        Count.paths[path].lost = PathLoss.Lost(path);
    return next;
}

} // namespace mxs::media
