// Packet type, source and sequence of what arrives.
#include "RtpIntake.h"

#include "Assembler.h"

namespace mxs::media
{

namespace
{

// Tells a tracker's verdict to the count of what is missing.
void CountMissing(uint64_t& lost, uint64_t& countedFrom, const SequenceTracker::Verdict& verdict)
{
    if (verdict.arrival == SequenceTracker::Arrival::Restart) countedFrom = verdict.index;
    lost += verdict.missing;
}

void CountFilled(uint64_t& lost, uint64_t countedFrom, const SequenceTracker::Verdict& verdict)
{
    const bool late = verdict.arrival == SequenceTracker::Arrival::Late;
    if (late && verdict.index > countedFrom && lost > 0) --lost;
}

} // namespace

RtpIntake::RtpIntake(const Settings& settings) : Config(settings)
{
    const size_t paths = Config.paths > 1 ? Config.paths : 0;
    Paths.resize(paths);
    PathCountedFrom.resize(paths);
    Count.paths.resize(Config.paths);
}

bool RtpIntake::AcceptSource(uint32_t ssrc, uint64_t nowNs, bool& afterSilence)
{
    if (Config.ssrc != 0 && ssrc != Config.ssrc) return false;
    afterSilence = Heard && nowNs >= LastHeardNs + kSilenceNs;
    if (Heard && ssrc != Count.ssrc && !afterSilence) return false;
    if (afterSilence) Forget();
    Heard = true;
    LastHeardNs = nowNs;
    Count.ssrc = ssrc;
    return true;
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
    Taken taken;
    if (!AcceptSource(packet->ssrc, nowNs, taken.afterSilence))
    {
        ++Count.otherSource;
        return {};
    }
    // The number counts even if the rest of the packet is no good: it is not missing, it is malformed.
    const uint16_t upperHalf = Config.numbering == Numbering::Extended ? ReadExtendedSequence(packet->payload) : 0;
    PathCounters& counters = Count.paths[path];
    ++counters.received;
    if (!Paths.empty())
    {
        const SequenceTracker::Verdict own = Paths[path].Accept(packet->sequence, upperHalf);
        CountMissing(counters.lost, PathCountedFrom[path], own);
        CountFilled(counters.lost, PathCountedFrom[path], own);
    }
    taken.verdict = Merged.Accept(packet->sequence, upperHalf);
    if (taken.verdict.arrival == SequenceTracker::Arrival::Duplicate)
    {
        ++Count.duplicates;
        return {};
    }
    CountMissing(Count.lost, CountedFrom, taken.verdict);
    if (Paths.empty()) counters.lost = Count.lost;
    taken.packet = *packet;
    return taken;
}

void RtpIntake::Fill(const Taken& taken)
{
    CountFilled(Count.lost, CountedFrom, taken.verdict);
    if (Paths.empty()) Count.paths.front().lost = Count.lost;
}

void RtpIntake::Forget()
{
    Merged.Forget();
    for (SequenceTracker& path : Paths)
        path.Forget();
}

} // namespace mxs::media
