#include "commandpipe/restserver/EssenceRecords.h"

namespace Quillmont::Trellis::Mxs::RtpEssence
{
namespace
{
// The other record as one of the same class, or null: a record of another class or type is never equal.
template <class Record, class Base>
const Record* AsSame(const Record& record, const Base& other)
{
    return record.EssenceType == other.EssenceType ? dynamic_cast<const Record*>(&other) : nullptr;
}
} // namespace

bool CONFIG::operator==(const CONFIG& other) const
{
    return IsEqualTo(other);
}

bool CONFIG::operator!=(const CONFIG& other) const
{
    return !(*this == other);
}

bool CONFIG_ST2110_20::IsEqualTo(const CONFIG& other) const
{
    const CONFIG_ST2110_20* same = AsSame(*this, other);
    return same && FrameWidth == same->FrameWidth && FrameHeight == same->FrameHeight && Framerate == same->Framerate &&
           Interlaced == same->Interlaced && ClockType == same->ClockType && NetworkBitProp == same->NetworkBitProp &&
           PackingMode_E == same->PackingMode_E && Colorimetry == same->Colorimetry && AppBitProp == same->AppBitProp &&
           UseDefaultTrOffset == same->UseDefaultTrOffset && (UseDefaultTrOffset || TrOffset == same->TrOffset);
}

bool CONFIG_ST2110_20::IsUnequalTo(const CONFIG& other) const
{
    return !IsEqualTo(other);
}

bool CONFIG_ST2110_30::IsEqualTo(const CONFIG& other) const
{
    const CONFIG_ST2110_30* same = AsSame(*this, other);
    return same && Encoding == same->Encoding && SamplingRate == same->SamplingRate && PacketTime == same->PacketTime &&
           ChannelNumber == same->ChannelNumber && NbPacketsPerBuffer == same->NbPacketsPerBuffer;
}

bool CONFIG_ST2110_30::IsUnequalTo(const CONFIG& other) const
{
    return !IsEqualTo(other);
}

bool CONFIG_ST2110_40::IsEqualTo(const CONFIG& other) const
{
    const CONFIG_ST2110_40* same = AsSame(*this, other);
    return same && ActiveFrameWidth == same->ActiveFrameWidth && RawFrameWidth == same->RawFrameWidth &&
           ActiveFrameHeight == same->ActiveFrameHeight && RawFrameHeight == same->RawFrameHeight &&
           Framerate == same->Framerate && Interlaced == same->Interlaced && ClockType == same->ClockType;
}

bool CONFIG_ST2110_40::IsUnequalTo(const CONFIG& other) const
{
    return !IsEqualTo(other);
}

bool STATUS::operator==(const STATUS& other) const
{
    return IsEqualTo(other);
}

bool STATUS::operator!=(const STATUS& other) const
{
    return !(*this == other);
}

bool STATUS::HasEqualContent(const STATUS& other) const
{
    if (LockSize != other.LockSize || EssenceType != other.EssenceType || BufferInfo != other.BufferInfo) return false;
    // Looks like a mistake and is none. EssenceStatusEquality.IsForVideoAlone pins it.
    return other.EssenceType == CommandPipe::RestServer::ESSENCE_TYPE_ST2110_20;
}

bool STATUS_ST2110_20::IsEqualTo(const STATUS& other) const
{
    return HasEqualContent(other);
}

bool STATUS_ST2110_20::IsUnequalTo(const STATUS& other) const
{
    return !IsEqualTo(other);
}

bool STATUS_ST2110_30::IsEqualTo(const STATUS& other) const
{
    return HasEqualContent(other);
}

bool STATUS_ST2110_30::IsUnequalTo(const STATUS& other) const
{
    return !IsEqualTo(other);
}

bool STATUS_ST2110_40::IsEqualTo(const STATUS& other) const
{
    return HasEqualContent(other);
}

bool STATUS_ST2110_40::IsUnequalTo(const STATUS& other) const
{
    return !IsEqualTo(other);
}
} // namespace Quillmont::Trellis::Mxs::RtpEssence
