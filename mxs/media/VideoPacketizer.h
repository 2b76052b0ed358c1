// Makes packets of video slots: each line cut into datagrams of whole pixel groups, paced over the active part of the
// frame.
#pragma once

#include "MediaStream.h"
#include "Packetizer.h"
#include "SampleConversion.h"

#include <array>
#include <cstdint>
#include <span>

namespace mxs::media
{

class VideoPacketizer : public Packetizer
{
public:
    // `video` is one that CheckEssence accepts.
    VideoPacketizer(const VideoConfig& video, const PacketizerSettings& settings);

    SlotPeriod Period() const override { return FramePeriod; }
    SlotPeriod Raster() const override { return FramePeriod; }
    uint64_t CatchUpNs() const override { return 10'000'000; } // of threads that are put to sleep at the wrong time
    size_t BurstCount() const override { return Burstful; }
    size_t Begin(std::span<const uint8_t> slot, const SlotTimes& times) override;
    uint64_t OffsetNs(size_t index) const override;
    Burst Write(size_t first, size_t end, std::span<uint8_t> room) override;

private:
    // Where the datagram at an index of the slot lies.
    struct Piece
    {
        size_t field;
        uint32_t line; // of the field
        uint32_t firstGroup;
        uint32_t groups;
        bool last; // of the field
    };

    Piece PieceAt(size_t index) const;
    uint32_t TimestampOf(size_t field, const SlotTimes& times) const;
    size_t WriteOne(const Piece& piece, uint8_t* to);

    const uint8_t PayloadType;
    const uint32_t Ssrc;
    const PixelGroup& Network;
    const SampleConverter Converter;
    const SlotLayout Layout;
    const uint32_t GroupsPerLine;
    const size_t Fields;
    const std::array<uint32_t, 2> Lines; // of each field
    const uint32_t PiecesPerLine;
    const uint32_t GroupsPerPiece; // of all but the last of a line, which may have less
    const SlotPeriod FramePeriod;
    const uint64_t FrameNs;
    const uint64_t SecondFieldNs; // from the slot's moment to that of the second field
    const uint64_t StartOffsetNs; // from the slot's moment to its first packet
    const uint64_t FieldActiveNs; // in which the packets of a field leave
    const size_t Burstful;

    std::span<const uint8_t> Slot;
    std::array<uint32_t, 2> Timestamps{}; // of the fields
    uint32_t Sequence;                    // of the packet that comes next
};

} // namespace mxs::media
