// The store of a frame's ancillary packets.
#pragma once

#include "anc/CTextSink.h"
#include "anc/IBlankingData.h"
#include "anc/TChunkPool.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Quillmont::anc
{
// The 10-bit words of one line's horizontal or vertical area; 0 for the vertical area of a line with picture. -1 for a
// number above 45, and for 45 itself in the vertical case.
int32_t GetLineCapacity(uint32_t videoStandard, uint32_t line, bool hanc);

class CBlankingData : public IBlankingData
{
public:
    static constexpr size_t kDataChunkBytes = 32768;
    static constexpr size_t kTailBytes = size_t{2} * 256; // of a chunk, handed out to nobody
    static constexpr size_t kPacketsOfChunk = 1024;
    static constexpr size_t kPacketStride = 48;

    // Without `listening` no text is built; the functions must be there all the same.
    CBlankingData(TextFunction errorSink, TextFunction debugSink, bool listening = true);
    CBlankingData(const CBlankingData&) = delete;
    CBlankingData& operator=(const CBlankingData&) = delete;
    ~CBlankingData() override;

    void SetListening(bool listening);

    uint32_t Init(uint32_t videoStandard, bool doubleVanc, const std::vector<uint32_t>& streams,
                  uint32_t nbPools) override;
    uint32_t GetNbLines() const override { return NbLines; }
    uint32_t AllocatePacket(uint8_t dataCount, ZEFA_ANC_PACKET** packet, uint32_t pool) override;
    uint32_t GetNbPackets(uint32_t line, uint32_t stream, bool inHanc, uint32_t* count) const override;
    uint32_t GetTotalNbPackets(uint32_t line, uint32_t stream, uint32_t* count) const override;
    uint32_t GetPacket(uint32_t line, uint32_t stream, int32_t index, ZEFA_ANC_PACKET** packet) const override;
    uint32_t InsertPacket(uint32_t line, uint32_t stream, int32_t index, ZEFA_ANC_PACKET* packet) override;
    uint32_t RemovePacket(uint32_t line, uint32_t stream, int32_t index, bool inHanc,
                          ZEFA_ANC_PACKET** packet) override;
    uint8_t* AllocateVbiLine(uint32_t pool) override;
    uint32_t GetVbiLine(uint32_t line, uint32_t stream, uint8_t** data, uint32_t* size) const override;
    uint32_t SetVbiLine(uint32_t line, uint32_t stream, uint8_t* data) override;
    uint32_t FindLineInUse(uint32_t line, uint32_t stream) const override;

    // Whether the packet lies in this store's memory, be it in use or given back.
    bool Owns(const ZEFA_ANC_PACKET* packet) const;

private:
    struct DataChunk
    {
        DataChunk* Next;
        uint32_t FreeBytes = kDataChunkBytes;
        // An application may raise DataCount_UB of a packet: from the last block on, too, there are 255 words to read.
        alignas(std::max_align_t) std::array<uint8_t, kDataChunkBytes + kTailBytes> Bytes;

        void Reset() { FreeBytes = kDataChunkBytes; }
    };

    struct alignas(16) PacketRecord
    {
        ZEFA_ANC_PACKET Packet;
    };
    static_assert(sizeof(PacketRecord) == kPacketStride);

    struct PacketChunk
    {
        PacketChunk* Next;
        uint32_t FreeRecords = kPacketsOfChunk;
        std::array<PacketRecord, kPacketsOfChunk> Records;

        void Reset();
    };

    // All zero is an empty line, so that memory fresh from the system needs no touch: words are counted as taken.
    struct Area
    {
        uint32_t TakenWords; // wraps: an area that was cleared may have less room than it began with, or more
        uint32_t NbPackets;
        ZEFA_ANC_PACKET *First, *Last;
    };
    struct Neighbours // each null where there is none
    {
        ZEFA_ANC_PACKET *Previous, *Next;
    };
    struct LineRecord
    {
        Area Hanc, Vanc;
        uint8_t* VbiData; // LineVancCapacity bytes, or null
    };
    struct StreamLines
    {
        LineRecord* Lines;                                   // NbLines of them, in LineMemory
        uint32_t FirstTouched = UINT32_MAX, LastTouched = 0; // all other lines are empty
    };
    struct FreeDeleter
    {
        void operator()(void* memory) const;
    };

    bool IsPlace(uint32_t line, uint32_t stream) const { return line - 1 < NbLines && stream < kStreams; }
    const LineRecord& At(uint32_t line, uint32_t stream) const { return Streams[stream].Lines[line - 1]; }
    LineRecord& Touch(uint32_t line, uint32_t stream);
    void Clear(Area& area, uint32_t line, bool hanc) const;
    uint32_t CapacityOf(const Area& area, bool hanc) const
    {
        return (hanc ? LineHancCapacity : LineVancCapacity) - area.TakenWords;
    }
    static Area& AreaOf(LineRecord& record, bool inHanc) { return inHanc ? record.Hanc : record.Vanc; }
    static uint32_t SizeOf(const ZEFA_ANC_PACKET& packet) { return packet.DataCount_UB + kPacketOverhead; }
    static Neighbours FindNeighbours(const Area& area, uint32_t place);
    static void Link(Area& area, Neighbours between, ZEFA_ANC_PACKET* packet, uint32_t size);
    static void CountOff(Area& area, const ZEFA_ANC_PACKET& removed);
    static ZEFA_ANC_PACKET* TakeRecord(PacketChunk& chunk, uint8_t dataCount, uint16_t* words);
    // What is left of the operations of these names behind their usual cases.
    uint32_t AllocateAny(uint8_t dataCount, ZEFA_ANC_PACKET** packet, uint32_t pool);
    uint32_t InsertAny(uint32_t line, uint32_t stream, int32_t index, ZEFA_ANC_PACKET* packet);
    uint32_t RemoveAny(uint32_t line, uint32_t stream, int32_t index, bool inHanc, ZEFA_ANC_PACKET** packet);
    uint8_t* AllocateData(uint32_t size, uint32_t pool);
    void TakeVideoStandard(uint32_t videoStandard, bool doubleVanc);
    void KeepExternal(ZEFA_ANC_PACKET* packet);

    std::array<StreamLines, kStreams> Streams{};
    std::unique_ptr<LineRecord[], FreeDeleter> LineMemory; // of all streams
    std::vector<TChunkPool<DataChunk>> DataPools;          // user words and raw lines
    std::vector<TChunkPool<PacketChunk>> PacketPools;
    std::vector<ZEFA_ANC_PACKET*> ExternalPackets; // from malloc, words too: freed by the next Init
    uint32_t NbLines = 0;
    uint32_t VideoStandard = kNoVideoStandard;
    uint32_t LineVancCapacity = 0; // what every line starts with, whether or not it carries picture
    uint32_t LineHancCapacity = 0;
    CTextSink ErrorSink;
    CTextSink DebugSink;
};
} // namespace Quillmont::anc
