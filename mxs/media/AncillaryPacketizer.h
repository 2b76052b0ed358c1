// Makes RTP packets of the playlists of a slot.
#pragma once

#include "AncillaryList.h"
#include "AncillaryRaster.h"
#include "Packetizer.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace mxs::media
{

class AncillaryPacketizer : public Packetizer
{
public:
    // `config` is one that CheckEssence accepts.
    AncillaryPacketizer(const AncillaryConfig& config, const PacketizerSettings& settings);

    SlotPeriod Period() const override { return FramePeriod; }
    SlotPeriod Raster() const override { return FramePeriod; }
    size_t BurstCount() const override { return 1; } // few packets, far apart
    size_t Begin(std::span<const uint8_t> slot, const SlotTimes& times) override;
    uint64_t OffsetNs(size_t index) const override;
    Burst Write(size_t first, size_t end, std::span<uint8_t> room) override;
    uint64_t Refused() const override { return RefusedCount; }

private:
    struct Datagram
    {
        uint32_t first = 0; // entry of the list
        uint32_t end = 0;
        uint32_t bytes = 0;
        uint8_t field = 0;
        bool marker = false;
    };

    void ReadPlaylists(std::span<const uint8_t> slot);
    void CutField(size_t field);
    void SetTimestamps(const SlotTimes& times);
    void WriteOne(const Datagram& datagram, std::span<uint8_t> to);

    const uint8_t PayloadType;
    const uint32_t Ssrc;
    const bool Interlaced;
    const AncillaryRaster Places;
    const SlotLayout Layout;
    const SlotPeriod FramePeriod;
    const uint64_t FieldNs;
    uint32_t Sequence; // of the next datagram

    AncillaryList List;
    std::vector<uint8_t> Copy; // of one playlist, so that nobody changes it any more
    std::vector<Datagram> Datagrams;
    size_t SecondFieldDatagram = 0; // the first one of the second field
    std::array<uint64_t, 2> GapNs{};
    std::array<uint32_t, 2> Timestamp{};
    uint64_t RefusedCount = 0;
};

} // namespace mxs::media
