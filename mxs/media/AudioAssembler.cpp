// From audio packets to slots.
#include "AudioAssembler.h"

#include "AudioFormat.h"

#include <algorithm>
#include <cstring>

namespace mxs::media
{

namespace
{

constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint64_t kOrigin = 1ULL << 40; // positions stay above 0, whatever steps back the timestamps make
constexpr uint64_t kLeastOpen = 2;       // the second takes the next frames while the first waits for late packets
constexpr uint64_t kLeastFar = 4;        // slots that a gap may span

// As many slots as begin while one waits for late packets, of the half of the ring that the application can spare.
uint64_t MostOpen(const AudioConfig& audio, uint32_t queueDepth)
{
    const uint64_t slotNs = FramesPerSlot(audio) * kNsPerSecond / audio.samplingRateHz;
    const uint64_t needed = kReorderNs / slotNs + kLeastOpen;
    return std::max(std::min<uint64_t>(needed, queueDepth / 2), kLeastOpen);
}

} // namespace

AudioAssembler::AudioAssembler(const AudioConfig& audio, const AssemblerSettings& settings, SlotSink& sink)
    : Sink(sink), FrameBytes(BytesPerFrame(audio)), SlotFrames(FramesPerSlot(audio)),
      LockSize(LayoutOf(audio).lockSize),
      Intake({.payloadType = settings.payloadType, .ssrc = settings.ssrc, .paths = settings.paths}),
      Slots(MostOpen(audio, settings.queueDepth)), FarFrames(std::max<uint64_t>(kLeastFar, Slots.size()) * SlotFrames),
      Losses(settings.mostLossRecords)
{
    for (Slot& slot : Slots)
        slot.covered = CoverageMap(SlotFrames);
    Count.intake = Intake.Counters(); // from here on a copy takes no memory
}

const AssemblerCounters& AudioAssembler::Counters() const
{
    Count.intake = Intake.Counters();
    return Count;
}

void AudioAssembler::Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs)
{
    CommitInSilence(nowNs);
    const std::optional<RtpIntake::Taken> taken = Intake.Take(datagram, path, nowNs);
    if (!taken) return;
    const std::span<const uint8_t> samples = taken->packet.payload;
    // No datagram of audio is longer: one of 64 KiB would be the time of many slots.
    if (samples.empty() || samples.size() % FrameBytes != 0 || samples.size() > kMostSampleBytes)
    {
        ++Count.malformed;
        return;
    }
    const bool late = taken->verdict.arrival == SequenceTracker::Arrival::Late;
    if (!late && (!Aligned || IsJump(PositionOf(taken->packet.timestamp)))) Align(taken->packet.timestamp, nowNs);
    const uint64_t position = PositionOf(taken->packet.timestamp);
    const uint64_t frames = samples.size() / FrameBytes;
    const bool outside = !Aligned || (late && IsJump(position)) || position + frames <= Grid;
    const bool placed = !outside && Place(position, samples, nowNs);
    if (!placed && (NoteDelay(position, nowNs) || !outside))
    {
        ++Count.delayed;
        return;
    }
    Intake.Fill(*taken); // before the first slot too: what comes is not lost
    if (!placed) ++Count.beforeFirstFrame;
}

uint64_t AudioAssembler::Tick(uint64_t nowNs)
{
    const uint64_t lookNs = Intake.Tick(nowNs);
    CommitInSilence(nowNs);
    while (First < Ended && nowNs >= At(First).endedNs + kReorderNs)
        Commit(First, nowNs); // moves First
    if (First == Next) return lookNs;
    const uint64_t next = std::min(lookNs, Intake.SilentFromNs());
    return First < Ended ? std::min(next, At(First).endedNs + kReorderNs) : next;
}

uint64_t AudioAssembler::PositionOf(uint32_t timestamp) const
{
    const auto step = static_cast<int32_t>(timestamp - static_cast<uint32_t>(NewestEnd));
    return NewestEnd + static_cast<uint64_t>(int64_t{step});
}

bool AudioAssembler::IsJump(uint64_t position) const
{
    return position > NewestEnd + FarFrames || position + FarFrames < NewestEnd;
}

// Whatever comes next begins a slot: a sender whose clock stood still meanwhile goes on in the middle of one that is
// committed.
void AudioAssembler::CommitInSilence(uint64_t nowNs)
{
    if (!Aligned || !Intake.IsSilent(nowNs)) return;
    CommitAll(nowNs);
    Aligned = false;
}

void AudioAssembler::Align(uint32_t timestamp, uint64_t nowNs)
{
    CommitAll(nowNs);
    Aligned = true;
    Grid = kOrigin | timestamp;
    NewestEnd = Grid;
    First = Ended = Next = 0;
}

bool AudioAssembler::Place(uint64_t begin, std::span<const uint8_t> samples, uint64_t nowNs)
{
    const uint64_t end = begin + samples.size() / FrameBytes;
    bool placed = false, written = false;
    uint64_t at = std::max(begin, BeginOf(First)); // what lies before is committed
    while (at < end)
    {
        const uint64_t number = (at - Grid) / SlotFrames;
        const uint64_t frames = std::min(end, BeginOf(number + 1)) - at;
        while (Next <= number)
            OpenNext(nowNs);
        Slot& slot = At(number);
        if (slot.open)
        {
            const uint64_t offset = at - BeginOf(number);
            const uint64_t fresh = slot.covered.Mark(offset, frames);
            if (slot.base && fresh > 0)
                std::memcpy(slot.base + offset * FrameBytes, samples.data() + (at - begin) * FrameBytes,
                            frames * FrameBytes);
            placed = true;
            written = written || slot.base;
            if (slot.covered.IsWhole()) Commit(number, nowNs);
        }
        at += frames;
    }
    if (end > NewestEnd)
    {
        NewestEnd = end;
        EndBelow((end - Grid) / SlotFrames, nowNs);
    }
    if (written) ++Count.processed;
    return placed;
}

void AudioAssembler::OpenNext(uint64_t nowNs)
{
    EndBelow(Next, nowNs);
    if (Next - First == Slots.size()) Commit(First, nowNs);
    Slot& slot = At(Next++);
    slot.open = true;
    slot.token = nullptr;
    slot.base = Sink.OpenSlot(slot.token);
    slot.covered.Clear();
    Count.lastSlotDropped = slot.base == nullptr;
    if (!slot.base) ++Count.drops;
}

void AudioAssembler::EndBelow(uint64_t number, uint64_t nowNs)
{
    for (Ended = std::max(Ended, First); Ended < std::min(number, Next); ++Ended)
        At(Ended).endedNs = nowNs;
}

void AudioAssembler::Commit(uint64_t number, uint64_t nowNs)
{
    Slot& slot = At(number);
    if (slot.base)
    {
        Complete(slot, BeginOf(number));
        Sink.CommitSlot(slot.token);
        ++Count.committed;
        if (!slot.covered.IsWhole()) ++Count.incomplete;
    }
    slot.open = false;
    Recent[RecentNext] = {BeginOf(number), nowNs};
    RecentNext = (RecentNext + 1) % kRecentSlots;
    while (First < Next && !At(First).open)
        ++First;
}

void AudioAssembler::CommitAll(uint64_t nowNs)
{
    while (First < Next)
        Commit(First, nowNs);
}

void AudioAssembler::Complete(const Slot& slot, uint64_t begin)
{
    Sink.AddRecord(slot.token, kRecordTimestamp, 0, static_cast<uint32_t>(begin));
    if (!slot.covered.IsWhole())
    {
        Losses.Clear(0);
        slot.covered.ForEachHole(
            [&](uint64_t from, uint64_t to)
            {
                std::memset(slot.base + from * FrameBytes, 0, (to - from) * FrameBytes);
                Losses.Add(from, to);
            });
        for (const LossList::Loss& loss : Losses.Result())
            Sink.AddRecord(slot.token, kRecordLost, static_cast<uint32_t>(loss.begin * FrameBytes),
                           static_cast<uint32_t>((loss.end - loss.begin) * FrameBytes));
    }
    Sink.AddRecord(slot.token, kRecordEnd, LockSize - 1, 0);
}

bool AudioAssembler::NoteDelay(uint64_t position, uint64_t nowNs)
{
    for (const RecentSlot& slot : Recent)
    {
        if (position < slot.begin || position >= slot.begin + SlotFrames) continue;
        Count.NoteDelay(nowNs - slot.committedNs, nowNs);
        return true;
    }
    return false;
}

} // namespace mxs::media
