// Arbitrary datagrams into the assembler of video, with slots whose borders are watched.
//
// The input: one byte that picks the format, one of which the lowest bit says that there are two paths, then datagrams,
// each behind two bytes of its length and one byte of which the lowest bit is the path and the rest the time that
// passes before it, in units of 10 ms.
#include "mxs/media/VideoAssembler.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <span>
#include <vector>

using namespace mxs::media;

namespace
{

constexpr uint8_t kPayloadType = 96;
constexpr uint64_t kTimeUnitNs = 10'000'000;

void Require(bool holds)
{
    if (!holds) std::abort();
}

// Each slot is an allocation of its own and exactly as long as a slot: the sanitizer sees what leaves it.
class CheckingSink : public SlotSink
{
public:
    explicit CheckingSink(uint32_t slotBytes) : SlotBytes(slotBytes) {}

    uint8_t* OpenSlot(void*& slot) override
    {
        if (++Asked % 7 == 0) return nullptr; // a ring that is full now and then
        Slots.emplace_back(SlotBytes);
        slot = &Slots.back();
        return Slots.back().data();
    }
    void AddRecord(void* slot, uint32_t type, uint32_t position, uint32_t value) override
    {
        Find(slot);
        Require(type >= kRecordTimestamp && type <= kRecordLost);
        Require(position < SlotBytes);
        if (type == kRecordLost) Require(value > 0 && value <= SlotBytes - position);
    }
    void CommitSlot(void* slot) override { Slots.erase(Find(slot)); }
    size_t OpenCount() const { return Slots.size(); }

private:
    using Slot = std::vector<uint8_t>;

    std::list<Slot>::iterator Find(void* slot)
    {
        const auto found = std::find_if(Slots.begin(), Slots.end(), [&](const Slot& each) { return &each == slot; });
        Require(found != Slots.end());
        return found;
    }

    const uint32_t SlotBytes;
    std::list<Slot> Slots;
    uint32_t Asked = 0;
};

VideoConfig PickFormat(uint8_t choice)
{
    constexpr std::array<uint32_t, 4> kSamplings{kYCbCr422, kYCbCr444, kRgbNonLinear, kICtCp422};
    VideoConfig video;
    video.width = 16;
    video.interlaced = choice & 1;
    video.height = video.interlaced ? 9 : 8;
    video.framerate = 50;
    video.network = {.sampling = kSamplings[choice >> 1 & 3], .depth = uint32_t{choice} / 8 % 3};
    video.application = {.sampling = video.network.sampling,
                         .depth = uint32_t{choice} / 24 % 3,
                         .padding = uint32_t{choice} / 72 % 3,
                         .endianness = uint32_t{choice} / 5 % 2};
    return video;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2) return 0;
    const VideoConfig video = PickFormat(data[0]);
    Require(!CheckEssence(Direction::Receive, video).Failed());
    CheckingSink sink(LayoutOf(video).lockSize);
    const size_t paths = data[1] & 1 ? 2 : 1;
    VideoAssembler assembler(video, {.payloadType = kPayloadType, .mostLossRecords = 4, .paths = paths}, sink);

    uint64_t nowNs = 1'000'000'000;
    std::span<const uint8_t> rest(data + 2, size - 2);
    while (rest.size() >= 3)
    {
        const size_t length = std::min<size_t>(size_t{rest[0]} << 8 | rest[1], rest.size() - 3);
        nowNs += (rest[2] >> 1) * kTimeUnitNs;
        const std::vector<uint8_t> datagram(rest.begin() + 3, rest.begin() + 3 + static_cast<std::ptrdiff_t>(length));
        assembler.Tick(nowNs);
        assembler.Push(datagram, (rest[2] & 1) % paths, nowNs);
        rest = rest.subspan(3 + length);
    }
    Require(assembler.Tick(nowNs + 10'000'000'000) == UINT64_MAX);
    Require(sink.OpenCount() == 0);
    return 0;
}
