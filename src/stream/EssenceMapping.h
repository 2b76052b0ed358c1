// The translation between the flat configuration structures of the exported interface and the wire records: tables of
// pairs for the enumerations, and the search in the tables of video standards.
#pragma once

#include <cstdint>
#include <span>

#include "commandpipe/restserver/EssenceRecords.h"
#include "zefaline.h"

namespace Quillmont::Trellis::Zefa
{
// One enumeration in both directions. A value without a pair becomes the other value of its direction; of two pairs
// with the same number, the first counts.
struct EnumMapping
{
    struct Pair
    {
        uint32_t Exported;
        uint32_t Wire;
    };

    std::span<const Pair> Pairs;
    uint32_t OtherToWire;
    uint32_t OtherToExported;

    uint32_t ToWire(uint32_t exported) const;
    uint32_t ToExported(uint32_t wire) const;
};

extern const EnumMapping kMulticastModes;

Mxs::RtpEssence::CONFIG_ST2110_20 ToWire(const ZEFA_ST2110_20_CONFIG& config);
Mxs::RtpEssence::CONFIG_ST2110_30 ToWire(const ZEFA_ST2110_30_CONFIG& config);
Mxs::RtpEssence::CONFIG_ST2110_40 ToWire(const ZEFA_ST2110_40_CONFIG& config);

// Fields that do not travel stay as they are.
void ToExported(const Mxs::RtpEssence::CONFIG_ST2110_20& record, ZEFA_ST2110_20_CONFIG* config);
void ToExported(const Mxs::RtpEssence::CONFIG_ST2110_30& record, ZEFA_ST2110_30_CONFIG* config);
void ToExported(const Mxs::RtpEssence::CONFIG_ST2110_40& record, ZEFA_ST2110_40_CONFIG* config);
} // namespace Quillmont::Trellis::Zefa
