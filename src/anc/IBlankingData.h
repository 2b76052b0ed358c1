// The ancillary packets of one frame, sorted by stream and line, as an SDI interface sees them.
#pragma once

#include "zefaline/anc.h"

#include <cstdint>
#include <vector>

namespace Quillmont::anc
{
// What the operations of this folder return.
inline constexpr uint32_t kAncSuccess = 0;
inline constexpr uint32_t kAncNoMemory = 1;
inline constexpr uint32_t kAncInvalidData = 2; // of a playlist
inline constexpr uint32_t kAncBadPlace = 3;    // line, stream, index or pool
inline constexpr uint32_t kAncNothingThere = 5;
inline constexpr uint32_t kAncLineFull = 6;
inline constexpr uint32_t kAncNullPointer = 7;

inline constexpr uint32_t kStreams = 48;         // of a store, from 0
inline constexpr uint32_t kNoStream = 48;        // the number of none
inline constexpr uint32_t kNoVideoStandard = 45; // of a store without lines
inline constexpr int32_t kBehindTheLast = -1;    // index for InsertPacket
inline constexpr int32_t kAllPackets = -1;       // index for RemovePacket
inline constexpr uint32_t kPacketOverhead = 7;   // words of a packet beside the user words: flag (3), DID, SDID, DC,
                                                 // checksum
inline constexpr uint32_t kNoLine = UINT32_MAX;  // of FindLineInUse

// Lines count from 1 to GetNbLines, streams from 0 to 47: all else is kAncBadPlace, before any other test but those of
// AllocatePacket. Packets belong to the store and live until its next Init. No lock: one thread at a time.
class IBlankingData
{
public:
    virtual ~IBlankingData() = default;

    // Empties the store: every packet and raw line of before is dead, those of other streams than `streams` too, though
    // their lines keep pointing to them. `nbPools` pools then give memory. `doubleVanc` counts with a new standard
    // alone and doubles the words of a line's vertical area. Always 0.
    virtual uint32_t Init(uint32_t videoStandard, bool doubleVanc, const std::vector<uint32_t>& streams,
                          uint32_t nbPools) = 0;
    virtual uint32_t GetNbLines() const = 0;

    // A packet with room for `dataCount` user words and a checksum; fields other than the count, the words and
    // External_B are for the caller to fill. It is on no line yet.
    virtual uint32_t AllocatePacket(uint8_t dataCount, ZEFA_ANC_PACKET** packet, uint32_t pool) = 0;
    virtual uint32_t GetNbPackets(uint32_t line, uint32_t stream, bool inHanc, uint32_t* count) const = 0;
    virtual uint32_t GetTotalNbPackets(uint32_t line, uint32_t stream, uint32_t* count) const = 0;
    // `index` counts the packets of the horizontal area first, then those of the vertical one.
    virtual uint32_t GetPacket(uint32_t line, uint32_t stream, int32_t index, ZEFA_ANC_PACKET** packet) const = 0;
    // At `index` in the area that InHANC_B says, as long as the area has the words.
    virtual uint32_t InsertPacket(uint32_t line, uint32_t stream, int32_t index, ZEFA_ANC_PACKET* packet) = 0;
    // `packet`, which may be null, receives the packet taken off; with kAllPackets null.
    virtual uint32_t RemovePacket(uint32_t line, uint32_t stream, int32_t index, bool inHanc,
                                  ZEFA_ANC_PACKET** packet) = 0;

    // Memory for the raw line of one line, null when there is none.
    virtual uint8_t* AllocateVbiLine(uint32_t pool) = 0;
    // The size is told on every line; kAncNothingThere for one without a raw line.
    virtual uint32_t GetVbiLine(uint32_t line, uint32_t stream, uint8_t** data, uint32_t* size) const = 0;
    // The store keeps the address: as many bytes as GetVbiLine tells must be there until the next Init.
    virtual uint32_t SetVbiLine(uint32_t line, uint32_t stream, uint8_t* data) = 0;

    // A line not before `line` and not behind the first one from there on that has a packet or a raw line, kNoLine when
    // there can be none: what lies between is empty.
    virtual uint32_t FindLineInUse(uint32_t line, uint32_t stream) const = 0;
};
} // namespace Quillmont::anc
