// The essence records: configuration and status of what a stream carries. One endpoint of the service serves three
// essences, so both are small class families; the essence type says which member of the family a record is.
#pragma once

#include "commandpipe/restserver/Enumerations.h"

#include <cstdint>
#include <map>

namespace Quillmont::Trellis::Mxs::RtpEssence
{
struct BIT_PROPERTIES
{
    uint32_t BitSampling = CommandPipe::RestServer::BIT_SAMPLING_YCBCR_422;
    uint32_t BitDepth = CommandPipe::RestServer::BIT_DEPTH_8BITS;
    uint32_t BitPadding = CommandPipe::RestServer::BIT_PADDING_NONE;
    uint32_t Endianness = CommandPipe::RestServer::ENDIANNESS_BIG;

    bool operator==(const BIT_PROPERTIES& other) const = default;
};

// Base of the three configurations. The order of the virtual operations is fixed.
struct CONFIG
{
    virtual bool operator==(const CONFIG& other) const;
    virtual bool operator!=(const CONFIG& other) const;
    virtual ~CONFIG() = default;
    virtual bool IsEqualTo(const CONFIG& other) const = 0;
    virtual bool IsUnequalTo(const CONFIG& other) const = 0;

    uint32_t EssenceType; // set by the constructor of the derived class and not changed afterwards

protected:
    explicit CONFIG(uint32_t essenceType) : EssenceType(essenceType) {}
    CONFIG(const CONFIG&) = default;
    CONFIG& operator=(const CONFIG&) = default;
};

struct CONFIG_ST2110_20 : CONFIG
{
    CONFIG_ST2110_20() : CONFIG(CommandPipe::RestServer::ESSENCE_TYPE_ST2110_20) {}
    using CONFIG::operator==;
    using CONFIG::operator!=;
    // TrOffset counts only when neither record uses the default offset.
    bool IsEqualTo(const CONFIG& other) const override;
    bool IsUnequalTo(const CONFIG& other) const override;

    uint32_t FrameWidth = 1080; // the defaults of width and height are not to be exchanged
    uint32_t FrameHeight = 1920;
    uint32_t Framerate = 30;
    bool Interlaced = false;
    uint32_t ClockType = CommandPipe::RestServer::CLOCK_TYPE_EU;
    BIT_PROPERTIES NetworkBitProp;
    uint32_t PackingMode_E = CommandPipe::RestServer::PACKING_MODE_GENERAL;
    uint32_t Colorimetry = CommandPipe::RestServer::COLORIMETRY_BT709;
    BIT_PROPERTIES AppBitProp;
    bool UseDefaultTrOffset = true;
    uint32_t TrOffset = 0;
};

struct CONFIG_ST2110_30 : CONFIG
{
    CONFIG_ST2110_30() : CONFIG(CommandPipe::RestServer::ESSENCE_TYPE_ST2110_30) {}
    using CONFIG::operator==;
    using CONFIG::operator!=;
    bool IsEqualTo(const CONFIG& other) const override;
    bool IsUnequalTo(const CONFIG& other) const override;

    uint32_t Encoding = CommandPipe::RestServer::ENCODING_L16;
    uint32_t SamplingRate = CommandPipe::RestServer::SAMPLING_RATE_48KHZ;
    uint32_t PacketTime = CommandPipe::RestServer::PACKET_TIME_1MS;
    uint32_t ChannelNumber = 2;
    uint32_t NbPacketsPerBuffer = 50;
};

struct CONFIG_ST2110_40 : CONFIG
{
    CONFIG_ST2110_40() : CONFIG(CommandPipe::RestServer::ESSENCE_TYPE_ST2110_40) {}
    using CONFIG::operator==;
    using CONFIG::operator!=;
    bool IsEqualTo(const CONFIG& other) const override;
    bool IsUnequalTo(const CONFIG& other) const override;

    uint32_t ActiveFrameWidth = 5500; // by default the active pair holds the larger values
    uint32_t RawFrameWidth = 3840;
    uint32_t ActiveFrameHeight = 2250;
    uint32_t RawFrameHeight = 2160;
    uint32_t Framerate = 24;
    bool Interlaced = false;
    uint32_t ClockType = CommandPipe::RestServer::CLOCK_TYPE_EU;
};

struct BUFFER_INFO
{
    BUFFER_INFO() = default;
    BUFFER_INFO(uint64_t offset, uint64_t size) : Offset(offset), Size(size) {}
    BUFFER_INFO(const BUFFER_INFO&) = default;
    BUFFER_INFO& operator=(const BUFFER_INFO&) = default;
    virtual ~BUFFER_INFO() = default;
    bool operator==(const BUFFER_INFO& other) const = default;

    uint64_t Offset = 0; // bytes from the start of the slot
    uint64_t Size = 0;   // bytes
};

// Base of the three statuses, which add nothing to it. The order of the virtual operations is fixed.
struct STATUS
{
    virtual bool operator==(const STATUS& other) const;
    virtual bool operator!=(const STATUS& other) const;
    virtual ~STATUS() = default;
    virtual bool IsEqualTo(const STATUS& other) const = 0;
    virtual bool IsUnequalTo(const STATUS& other) const = 0;

    int32_t LockSize = 0; // bytes of one slot
    int32_t SlotDropped = 0;
    uint32_t Reserved = 0;                      // never travels
    uint32_t EssenceType;                       // set by the constructor of the derived class
    std::map<uint32_t, BUFFER_INFO> BufferInfo; // by the buffer's number

protected:
    explicit STATUS(uint32_t essenceType) : EssenceType(essenceType) {}
    STATUS(const STATUS&) = default;
    STATUS& operator=(const STATUS&) = default;

    // Shared by the three classes, SlotDropped takes no part. True for video alone: equal statuses of audio and of
    // ancillary data compare as unequal, as the service's do.
    bool HasEqualContent(const STATUS& other) const;
};

struct STATUS_ST2110_20 : STATUS
{
    STATUS_ST2110_20() : STATUS(CommandPipe::RestServer::ESSENCE_TYPE_ST2110_20) {}
    using STATUS::operator==;
    using STATUS::operator!=;
    bool IsEqualTo(const STATUS& other) const override;
    bool IsUnequalTo(const STATUS& other) const override;
};

struct STATUS_ST2110_30 : STATUS
{
    STATUS_ST2110_30() : STATUS(CommandPipe::RestServer::ESSENCE_TYPE_ST2110_30) {}
    using STATUS::operator==;
    using STATUS::operator!=;
    bool IsEqualTo(const STATUS& other) const override;
    bool IsUnequalTo(const STATUS& other) const override;
};

struct STATUS_ST2110_40 : STATUS
{
    STATUS_ST2110_40() : STATUS(CommandPipe::RestServer::ESSENCE_TYPE_ST2110_40) {}
    using STATUS::operator==;
    using STATUS::operator!=;
    bool IsEqualTo(const STATUS& other) const override;
    bool IsUnequalTo(const STATUS& other) const override;
};
} // namespace Quillmont::Trellis::Mxs::RtpEssence
