// The store: lines as lists of packets, pools that are released as a whole.
#include "anc/CBlankingData.h"

#include "core/VideoStandards.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace Quillmont::anc
{
using Trellis::Zefa::FindSdiStandard;
using Trellis::Zefa::VideoStandardRow;

namespace
{
constexpr uint32_t kLastDoubledStandard = 2; // up to it a line has as many chroma as luma words, counted on their own
constexpr uint32_t kHdTotalSamples = 1280;
constexpr uint32_t kNoEnd = UINT32_MAX;

struct LineSpan
{
    uint32_t first, last;
};
struct ActiveLinesRow
{
    uint32_t lastStandard; // of those that the row stands for
    std::array<LineSpan, 3> spans;
};
constexpr LineSpan kNone{1, 0};
constexpr ActiveLinesRow kActiveLines[] = {
    {0, {{{23, 262}, {286, kNoEnd}, kNone}}},        {1, {{{20, 263}, {283, kNoEnd}, kNone}}},
    {2, {{{23, 310}, {336, 623}, kNone}}},           {5, {{{26, 745}, kNone, kNone}}},
    {8, {{{21, 560}, {584, 1123}, {1126, kNoEnd}}}}, {44, {{{42, 1121}, kNone, kNone}}},
};

constexpr VideoStandardRow kEmptyRow{}; // of a standard that has none

const VideoStandardRow& RowOf(uint32_t videoStandard)
{
    const VideoStandardRow* row = FindSdiStandard(videoStandard);
    return row ? *row : kEmptyRow;
}

bool IsActive(uint32_t videoStandard, uint32_t line)
{
    const ActiveLinesRow* row = std::begin(kActiveLines);
    while (row->lastStandard < videoStandard)
        ++row;
    return std::any_of(row->spans.begin(), row->spans.end(),
                       [line](const LineSpan& span) { return span.first <= line && line <= span.last; });
}

bool IsIn(const void* address, const void* begin, size_t bytes)
{
    const auto offset = reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(begin);
    return offset < bytes;
}
} // namespace

int32_t GetLineCapacity(uint32_t videoStandard, uint32_t line, bool hanc)
{
    if (videoStandard > kNoVideoStandard) return -1;
    const VideoStandardRow& row = RowOf(videoStandard);
    if (hanc)
    {
        const int32_t blanking = row.TotalSamples - row.ActiveSamples;
        return row.TotalSamples >= kHdTotalSamples ? blanking - 12 : blanking * 2 - 8;
    }
    if (videoStandard == kNoVideoStandard) return -1;
    if (IsActive(videoStandard, line)) return 0;
    return videoStandard <= kLastDoubledStandard ? row.ActiveSamples * 2 : row.ActiveSamples;
}

void CBlankingData::PacketChunk::Reset()
{
    // A packet that is taken again is as empty as a new one.
    std::fill_n(Records.begin(), kPacketsOfChunk - FreeRecords, PacketRecord{});
    FreeRecords = kPacketsOfChunk;
}

void CBlankingData::FreeDeleter::operator()(void* memory) const
{
    std::free(memory);
}

CBlankingData::CBlankingData(TextFunction errorSink, TextFunction debugSink, bool listening)
    : ErrorSink(std::move(errorSink), listening), DebugSink(std::move(debugSink), listening)
{
}

CBlankingData::~CBlankingData()
{
    CBlankingData::Init(kNoVideoStandard, false, {}, 0);
}

void CBlankingData::SetListening(bool listening)
{
    ErrorSink.SetListening(listening);
    DebugSink.SetListening(listening);
}

uint32_t CBlankingData::Init(uint32_t videoStandard, bool doubleVanc, const std::vector<uint32_t>& streams,
                             uint32_t nbPools)
{
    for (auto& pool : DataPools)
        pool.GiveAllBack();
    for (auto& pool : PacketPools)
        pool.GiveAllBack();
    for (ZEFA_ANC_PACKET* packet : ExternalPackets)
    {
        std::free(packet->UserWords_pUS);
        std::free(packet);
    }
    ExternalPackets.clear();

    if (nbPools != DataPools.size())
    {
        DataPools = std::vector<TChunkPool<DataChunk>>(nbPools);
        PacketPools = std::vector<TChunkPool<PacketChunk>>(nbPools);
    }
    if (videoStandard != VideoStandard) TakeVideoStandard(videoStandard, doubleVanc);

    for (const uint32_t stream : streams)
    {
        if (stream >= kStreams) continue;
        StreamLines& lines = Streams[stream];
        if (lines.FirstTouched <= lines.LastTouched)
            std::fill(lines.Lines + lines.FirstTouched - 1, lines.Lines + lines.LastTouched, LineRecord{});
        lines.FirstTouched = UINT32_MAX;
        lines.LastTouched = 0;
    }
    return kAncSuccess;
}

void CBlankingData::TakeVideoStandard(uint32_t videoStandard, bool doubleVanc)
{
    LineMemory.reset();
    Streams = {};
    NbLines = 0;
    VideoStandard = kNoVideoStandard; // should there be no memory, the next Init tries again
    if (videoStandard == kNoVideoStandard) return;

    const uint32_t lines = RowOf(videoStandard).TotalLines;
    LineVancCapacity = static_cast<uint32_t>(GetLineCapacity(videoStandard, 0, false)) * (doubleVanc ? 2 : 1);
    LineHancCapacity = static_cast<uint32_t>(GetLineCapacity(videoStandard, 1, true));
    if (lines != 0)
    {
        // Zeros from the system, which gives pages when they are touched: of 48 streams few are ever used.
        LineMemory.reset(static_cast<LineRecord*>(std::calloc(size_t{kStreams} * lines, sizeof(LineRecord))));
        if (!LineMemory) throw std::bad_alloc();
    }
    VideoStandard = videoStandard;
    for (uint32_t stream = 0; stream < kStreams; ++stream)
        Streams[stream].Lines = LineMemory.get() + size_t{stream} * lines;
    NbLines = lines;
}

CBlankingData::LineRecord& CBlankingData::Touch(uint32_t line, uint32_t stream)
{
    StreamLines& lines = Streams[stream];
    lines.FirstTouched = std::min(lines.FirstTouched, line);
    lines.LastTouched = std::max(lines.LastTouched, line);
    return lines.Lines[line - 1];
}

uint8_t* CBlankingData::AllocateData(uint32_t size, uint32_t pool)
{
    if (size > kDataChunkBytes) return nullptr;
    TChunkPool<DataChunk>& chunks = DataPools[pool];
    DataChunk* chunk = chunks.Head();
    if (!chunk || chunk->FreeBytes < size) chunk = chunks.AddChunk(); // the rest of the old chunk is lost
    if (!chunk) return nullptr;
    uint8_t* const block = &chunk->Bytes[kDataChunkBytes - chunk->FreeBytes];
    chunk->FreeBytes -= size;
    return block;
}

// A packet whose words stand elsewhere, from a chunk that has a record left: nothing to call, and so no frame.
uint32_t CBlankingData::AllocatePacket(uint8_t dataCount, ZEFA_ANC_PACKET** packet, uint32_t pool)
{
    PacketChunk* const chunk = pool < PacketPools.size() && packet ? PacketPools[pool].Head() : nullptr;
    if (dataCount != 0 || !chunk || chunk->FreeRecords == 0) return AllocateAny(dataCount, packet, pool);
    *packet = TakeRecord(*chunk, 0, nullptr);
    return kAncSuccess;
}

[[gnu::noinline]] uint32_t CBlankingData::AllocateAny(uint8_t dataCount, ZEFA_ANC_PACKET** packet, uint32_t pool)
{
    if (pool >= PacketPools.size()) [[unlikely]]
    {
        ErrorSink.Tell("Invalid pool index received");
        return kAncBadPlace;
    }
    if (!packet) [[unlikely]]
    {
        ErrorSink.Tell("Invalid pNbAncPackets pointer received");
        return kAncNullPointer;
    }
    *packet = nullptr;
    PacketChunk* chunk = PacketPools[pool].Head();
    if (!chunk || chunk->FreeRecords == 0) [[unlikely]]
        chunk = PacketPools[pool].AddChunk();
    uint16_t* words = nullptr;
    if (chunk && dataCount != 0)
        words = reinterpret_cast<uint16_t*>(AllocateData(dataCount * 2U + 2, pool)); // even sizes keep words aligned
    if (!chunk || (dataCount != 0 && !words)) [[unlikely]]
    {
        ErrorSink.Tell("Cannot allocate internal ANC packet structure");
        return kAncNoMemory;
    }
    *packet = TakeRecord(*chunk, dataCount, words);
    return kAncSuccess;
}

ZEFA_ANC_PACKET* CBlankingData::TakeRecord(PacketChunk& chunk, uint8_t dataCount, uint16_t* words)
{
    ZEFA_ANC_PACKET& record = chunk.Records[kPacketsOfChunk - chunk.FreeRecords].Packet;
    --chunk.FreeRecords;
    record.External_B = 0;
    record.DataCount_UB = dataCount;
    record.UserWords_pUS = words;
    return &record;
}

uint32_t CBlankingData::GetNbPackets(uint32_t line, uint32_t stream, bool inHanc, uint32_t* count) const
{
    if (!IsPlace(line, stream)) return kAncBadPlace;
    if (!count) return kAncNullPointer;
    const LineRecord& record = At(line, stream);
    *count = (inHanc ? record.Hanc : record.Vanc).NbPackets;
    return kAncSuccess;
}

uint32_t CBlankingData::GetTotalNbPackets(uint32_t line, uint32_t stream, uint32_t* count) const
{
    if (!IsPlace(line, stream)) return kAncBadPlace;
    if (!count) return kAncNullPointer;
    const LineRecord& record = At(line, stream);
    *count = record.Hanc.NbPackets + record.Vanc.NbPackets;
    return kAncSuccess;
}

// The walks below test for the end of a list that is shorter than its count: applications hold the packets.
uint32_t CBlankingData::GetPacket(uint32_t line, uint32_t stream, int32_t index, ZEFA_ANC_PACKET** packet) const
{
    if (!IsPlace(line, stream)) return kAncBadPlace;
    if (!packet) return kAncNullPointer;
    *packet = nullptr;
    uint32_t left = static_cast<uint32_t>(index); // a negative index lies beyond every end
    const LineRecord& record = At(line, stream);
    for (const Area* area : {&record.Hanc, &record.Vanc})
    {
        if (left < area->NbPackets)
        {
            ZEFA_ANC_PACKET* each = area->First;
            for (; each && left > 0; --left)
                each = each->Next;
            *packet = each;
            return each ? kAncSuccess : kAncNothingThere;
        }
        left -= area->NbPackets;
    }
    return kAncNothingThere;
}

// Between which packets one comes that is not the last.
[[gnu::noinline]] CBlankingData::Neighbours CBlankingData::FindNeighbours(const Area& area, uint32_t place)
{
    ZEFA_ANC_PACKET* next = area.First;
    for (uint32_t i = 0; next && i < place; ++i)
        next = next->Next;
    return {place == 0 || !next ? nullptr : next->Previous, next};
}

// Behind the last, with room for it and nobody listening: nothing to call, and so no frame.
uint32_t CBlankingData::InsertPacket(uint32_t line, uint32_t stream, int32_t index, ZEFA_ANC_PACKET* packet)
{
    if (packet && index == kBehindTheLast && !DebugSink.Wanted() && IsPlace(line, stream) && !packet->External_B)
    {
        Area& area = AreaOf(Touch(line, stream), packet->InHANC_B != 0);
        const uint32_t size = SizeOf(*packet);
        if (CapacityOf(area, packet->InHANC_B != 0) >= size)
        {
            Link(area, {area.Last, nullptr}, packet, size);
            return kAncSuccess;
        }
    }
    return InsertAny(line, stream, index, packet);
}

[[gnu::noinline]] uint32_t CBlankingData::InsertAny(uint32_t line, uint32_t stream, int32_t index,
                                                    ZEFA_ANC_PACKET* packet)
{
    if (!packet) return kAncNullPointer;
    const bool inHanc = packet->InHANC_B != 0;
    if (DebugSink.Wanted()) [[unlikely]]
        DebugSink.Tell("LineNumber_i=%d - AncStream_E=%d - PacketIndex_i=%d - InHANC=%d - DataCount=%d\n",
                       static_cast<int>(line), static_cast<int>(stream), index, static_cast<int>(packet->InHANC_B),
                       packet->DataCount_UB);
    if (!IsPlace(line, stream)) return kAncBadPlace;
    if (packet->External_B) [[unlikely]]
        KeepExternal(packet);

    Area& area = AreaOf(Touch(line, stream), inHanc);
    const uint32_t size = SizeOf(*packet);
    const uint32_t capacity = CapacityOf(area, inHanc);
    if (capacity < size) [[unlikely]]
    {
        ErrorSink.Tell("Stream%d - Line%d - %s : Packet size %d is greater than line capacity %u",
                       static_cast<int>(stream), static_cast<int>(line), inHanc ? "H" : "V", static_cast<int>(size),
                       capacity);
        return kAncLineFull;
    }
    const uint32_t place = index == kBehindTheLast ? area.NbPackets : static_cast<uint32_t>(index);
    if (place > area.NbPackets) [[unlikely]] // a negative index is above every count
    {
        ErrorSink.Tell("Invalid PacketIndex_i=%d (NbAncPkt_UL=%d)", index, static_cast<int>(area.NbPackets));
        return kAncBadPlace;
    }
    Link(area, place == area.NbPackets ? Neighbours{area.Last, nullptr} : FindNeighbours(area, place), packet, size);
    return kAncSuccess;
}

void CBlankingData::Link(Area& area, Neighbours between, ZEFA_ANC_PACKET* packet, uint32_t size)
{
    packet->Previous = between.Previous;
    packet->Next = between.Next;
    (between.Previous ? between.Previous->Next : area.First) = packet;
    (between.Next ? between.Next->Previous : area.Last) = packet;
    ++area.NbPackets;
    area.TakenWords += size;
}

void CBlankingData::Clear(Area& area, uint32_t line, bool hanc) const
{
    area = {};
    // From here on the vertical area has the room of its own line, which is none where there is picture.
    if (!hanc) area.TakenWords = LineVancCapacity - static_cast<uint32_t>(GetLineCapacity(VideoStandard, line, false));
}

uint32_t CBlankingData::RemovePacket(uint32_t line, uint32_t stream, int32_t index, bool inHanc,
                                     ZEFA_ANC_PACKET** packet)
{
    if (packet) *packet = nullptr;
    if (!IsPlace(line, stream)) return kAncBadPlace;
    if (index != 0) return RemoveAny(line, stream, index, inHanc, packet);

    // The first, as whoever empties a line asks for it again and again.
    Area& area = AreaOf(Streams[stream].Lines[line - 1], inHanc);
    ZEFA_ANC_PACKET* const removed = area.First;
    if (area.NbPackets == 0 || !removed) return kAncBadPlace;
    area.First = removed->Next;
    (area.NbPackets != 1 && removed->Next ? removed->Next->Previous : area.Last) = removed->Previous;
    CountOff(area, *removed);
    if (packet) *packet = removed;
    return kAncSuccess;
}

[[gnu::noinline]] uint32_t CBlankingData::RemoveAny(uint32_t line, uint32_t stream, int32_t index, bool inHanc,
                                                    ZEFA_ANC_PACKET** packet)
{
    Area& area = AreaOf(Touch(line, stream), inHanc);
    if (index == kAllPackets)
    {
        Clear(area, line, inHanc);
        return kAncSuccess;
    }
    if (static_cast<uint32_t>(index) >= area.NbPackets) return kAncBadPlace;

    const bool isLast = static_cast<uint32_t>(index) == area.NbPackets - 1;
    ZEFA_ANC_PACKET* removed = isLast ? area.Last : area.First;
    if (!isLast)
        for (int32_t i = 0; removed && i < index; ++i)
            removed = removed->Next;
    if (!removed) return kAncBadPlace;
    (removed->Previous ? removed->Previous->Next : area.First) = removed->Next;
    (!isLast && removed->Next ? removed->Next->Previous : area.Last) = removed->Previous;
    CountOff(area, *removed);
    if (packet) *packet = removed;
    return kAncSuccess;
}

void CBlankingData::CountOff(Area& area, const ZEFA_ANC_PACKET& removed)
{
    if (--area.NbPackets == 0) area.First = area.Last = nullptr;
    area.TakenWords -= SizeOf(removed);
}

uint8_t* CBlankingData::AllocateVbiLine(uint32_t pool)
{
    return pool < DataPools.size() ? AllocateData(LineVancCapacity, pool) : nullptr;
}

uint32_t CBlankingData::GetVbiLine(uint32_t line, uint32_t stream, uint8_t** data, uint32_t* size) const
{
    if (!IsPlace(line, stream)) return kAncBadPlace;
    if (!data || !size) return kAncNullPointer;
    *size = LineVancCapacity;
    *data = At(line, stream).VbiData;
    return *data ? kAncSuccess : kAncNothingThere;
}

uint32_t CBlankingData::SetVbiLine(uint32_t line, uint32_t stream, uint8_t* data)
{
    if (!IsPlace(line, stream)) return kAncBadPlace;
    Touch(line, stream).VbiData = data;
    return kAncSuccess;
}

uint32_t CBlankingData::FindLineInUse(uint32_t line, uint32_t stream) const
{
    if (stream >= kStreams) return kNoLine;
    const StreamLines& lines = Streams[stream];
    if (lines.FirstTouched > lines.LastTouched || line > lines.LastTouched) return kNoLine;
    return std::max(line, lines.FirstTouched);
}

bool CBlankingData::Owns(const ZEFA_ANC_PACKET* packet) const
{
    const auto isHere = [packet](const PacketChunk& chunk)
    { return IsIn(packet, &chunk.Records, sizeof chunk.Records); };
    return std::any_of(PacketPools.begin(), PacketPools.end(),
                       [&isHere](const auto& pool) { return pool.AnyChunk(isHere); });
}

// A packet that says so of itself but lies in a pool, or that came before, is none to be freed.
void CBlankingData::KeepExternal(ZEFA_ANC_PACKET* packet)
{
    if (Owns(packet)) return;
    if (std::find(ExternalPackets.begin(), ExternalPackets.end(), packet) == ExternalPackets.end())
        ExternalPackets.push_back(packet);
}
} // namespace Quillmont::anc
