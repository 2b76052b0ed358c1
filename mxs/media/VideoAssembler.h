// Video: which packet belongs to which frame, where its samples lie, what is missing.
#pragma once

#include "CoverageMap.h"
#include "FrameAssembler.h"
#include "LossList.h"
#include "MediaStream.h"
#include "RtpPacket.h"
#include "SampleConversion.h"

#include <array>
#include <cstdint>
#include <span>

namespace mxs::media
{

struct VideoSlot : FrameSlot
{
    CoverageMap covered;

    void Clear() { covered.Clear(); }
};

class VideoAssembler final : public FrameAssembler<VideoSlot>
{
public:
    // `video` is one that CheckEssence accepts. `sink` outlives the object.
    VideoAssembler(const VideoConfig& video, const AssemblerSettings& settings, SlotSink& sink);

    void Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs) override;

private:
    bool IsFirstOfFrame(const RtpIntake::Taken& taken) const override;
    bool IsOtherField(const Frame& frame, const RtpIntake::Taken& taken, size_t field) const override;
    bool IsWhole(const VideoSlot& slot) const override { return slot.covered.IsWhole(); }
    void Complete(VideoSlot& slot, bool whole) override; // black, losses, timestamps

    bool Fits(const VideoPayload& payload) const;
    void Write(VideoSlot& slot, const VideoPayload& payload);
    void FetchForWriting(uint8_t* slot, const SampleConverter::ByteRange& bytes) const;

    const PixelGroup& Network;
    const SampleConverter Converter;
    const uint64_t GroupsPerLine;
    const std::array<uint32_t, 2> Lines;      // of each field; a progressive frame is the first
    const std::array<uint64_t, 2> FirstGroup; // of each field in the slot

    uint64_t LargestPayload = 1;
    uint64_t FrameEndIndex = 0; // index of the latest marker that ends a frame; indexes never come again
    LossList Losses;
    VideoPayload Scratch;
};

} // namespace mxs::media
