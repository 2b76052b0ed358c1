// From the store to playlists. Nothing is written unless the end marker still fits behind it, so that a buffer that is
// too small holds a playlist all the same, a shorter one.
#include "anc/CAncPlaylistManager.h"
#include "anc/LineRange.h"
#include "anc/PlaylistFormat.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Quillmont::anc
{
namespace
{
constexpr uint32_t kSdActiveWidth = 1280; // below it
constexpr uint64_t kFlagWords = 0x03FF'03FF'0000;

// Moves the user words of a packet, 255 at most, and gives a sum of them of which the lowest nine bits are right.
uint32_t MoveWords(uint8_t* to, const uint8_t* from, size_t count)
{
    // From the first word to the last, unless that would write upon what is still to be read.
    if (reinterpret_cast<uintptr_t>(to) - reinterpret_cast<uintptr_t>(from) < count * 2) [[unlikely]]
    {
        std::memmove(to, from, count * 2);
        from = to;
    }
    // Eight at a time in lanes of 16 bits, and what is left of them in four lanes of one word.
    using Lanes [[gnu::vector_size(16)]] = uint16_t;
    constexpr uint64_t kLow9 = 0x01FF'01FF'01FF'01FF;
    Lanes sums{};
    for (size_t eights = count / 8; eights != 0; --eights, from += 16, to += 16)
    {
        Lanes words;
        std::memcpy(&words, from, sizeof words);
        std::memcpy(to, &words, sizeof words);
        sums += words;
    }
    std::array<uint64_t, 2> halves;
    std::memcpy(&halves, &sums, sizeof halves);
    uint64_t lanes = (halves[0] & kLow9) + (halves[1] & kLow9);
    if (count & 4)
    {
        const uint64_t words = Load64(from);
        Store64(to, words);
        lanes += words & kLow9;
        from += 8, to += 8;
    }
    auto sum = static_cast<uint32_t>(lanes * 0x0001'0001'0001'0001 >> 48); // the highest lane has the sum of all four
    if (count & 2)
    {
        const uint32_t words = Load32(from);
        Store32(to, words);
        sum += (words & 0xFFFF) + (words >> 16);
        from += 4, to += 4;
    }
    if (count & 1)
    {
        const uint32_t word = Load16(from);
        Store16(to, word);
        sum += word;
    }
    return sum;
}

// The nine bits of a sum, and behind them the inverse of the ninth.
uint32_t ChecksumWord(uint32_t sum)
{
    return (sum & 0x1FF) | (~sum & 0x100) << 1;
}
} // namespace

struct CAncPlaylistManager::Writing
{
    const ANC_GENERATE_REQUEST& Request;
    const uint32_t Index, Stream, BufferType;
    uint8_t* const Bytes;
    const uint32_t Size;
    uint32_t Position;

    bool Fits(uint64_t bytes) const { return Position + bytes + kEndMarkerBytes <= Size; }
    uint32_t FillerBytes() const { return Position % 4 != 0 ? 2 : 0; }
    void Put(uint32_t word)
    {
        Store16(Bytes + Position, word);
        Position += 2;
    }
    void PutFiller()
    {
        if (FillerBytes() != 0) Put(kFiller);
    }
    void PutHeader(uint32_t flags, uint32_t line, uint32_t payloadBytes)
    {
        PutFiller();
        Put(line | flags);
        Put(payloadBytes);
    }
    void PutBytes(const void* bytes, size_t count)
    {
        std::memmove(Bytes + Position, bytes, count); // packets may lie in the buffer that is being written
        Position += static_cast<uint32_t>(count);
    }
    void PutPacket(const ZEFA_ANC_PACKET& packet, uint32_t words)
    {
        const uint32_t did = kParityWords[packet.DID_UB], sdid = kParityWords[packet.SDID_UB],
                       dataCount = kParityWords[words];
        uint8_t* const to = Bytes + Position;
        uint8_t* const toWords = to + kWordsBeforeUserWords * 2;
        // The words first: they may lie where this packet's own flag comes to stand.
        const uint32_t sum = MoveWords(toWords, reinterpret_cast<const uint8_t*>(packet.UserWords_pUS), words);
        Store64(to, kFlagWords | uint64_t{did} << 48);
        Store32(to + 8, sdid | dataCount << 16);
        Store16(toWords + size_t{words} * 2, ChecksumWord(did + sdid + dataCount + sum));
        Position += (words + kPacketOverhead) * 2;
    }
};

uint32_t CAncPlaylistManager::Generate(const ANC_GENERATE_REQUEST& request)
{
    const LineRange lines = LinesOf(request);
    const uint32_t playlists = request.NbChannels * request.NbLinks * 2;
    for (uint32_t index = 0; index < playlists; ++index)
    {
        if (!Exists(index, request.ActiveWidth)) continue;
        const uint32_t bufferType = Playlists.PlaylistToBuffer(index, request.NbLinks);
        const uint32_t stream = StreamOf(index);
        uint32_t position = 0;
        uint16_t progressLine = 0;
        request.GetProgress(bufferType, &position, &progressLine);
        uint32_t size = 0;
        uint8_t* const buffer = request.GetBuffer(bufferType, &size);
        if (!buffer)
        {
            ErrorSink.Tell("Playlist%d buffer is empty : pBufPtr_UB=%ph - BufSize_UL=%d", static_cast<int>(index),
                           static_cast<void*>(buffer), static_cast<int>(size));
            continue;
        }

        const bool begins = position == 0;
        const uint32_t firstLine = begins ? lines.First + 1 : progressLine + 1U;
        const uint32_t endLine = std::min<uint32_t>(request.GetLastLine(bufferType), lines.Last);
        Writing writing{request, index, stream, bufferType, buffer, size, begins ? kPlaylistHeadBytes : position};
        if (begins && size < kEmptyPlaylistBytes)
        {
            Refuse(writing, firstLine);
            continue;
        }
        if (begins) Store32(buffer + 4, 0);
        if (firstLine > endLine) continue;
        if (!writing.Fits(0))
        {
            // A playlist that was read has come to the end of its buffer, and has its end marker somewhere before it.
            // Lines above the last one seen may still have packets: lines need not rise.
            request.SetProgress(bufferType, position, static_cast<uint16_t>(endLine));
            continue;
        }

        WriteLines(writing, firstLine, endLine);
        ClosePlaylist(writing, endLine, endLine == lines.Last);
        request.SetProgress(bufferType, writing.Position, static_cast<uint16_t>(endLine));
    }
    return kAncSuccess;
}

void CAncPlaylistManager::WriteLines(Writing& writing, uint32_t firstLine, uint32_t endLine)
{
    const ANC_GENERATE_REQUEST& request = writing.Request;
    for (uint32_t line = firstLine; line <= endLine; ++line)
    {
        line = request.Store->FindLineInUse(line, writing.Stream);
        if (line > endLine)
        {
            if (!request.MarkEmptyFrame) return;
            line = endLine;
        }
        if (!WriteLine(writing, line, line == endLine)) return Refuse(writing, line);
    }
}

// False, here and below, when something did not fit.
bool CAncPlaylistManager::WriteLine(Writing& writing, uint32_t line, bool isEnd)
{
    const ANC_GENERATE_REQUEST& request = writing.Request;
    bool found = false;
    if (!WritePackets(writing, line, true, &found)) return false;

    uint8_t* rawLine = nullptr;
    uint32_t rawBytes = 0;
    if (request.Store->GetVbiLine(line, writing.Stream, &rawLine, &rawBytes) == kAncSuccess)
    {
        if (!writing.Fits(uint64_t{writing.FillerBytes()} + kHeaderBytes + rawBytes)) return false;
        writing.PutHeader(kHeaderFlag | kRawLineFlag | (request.Vbi10Bit ? kRawLine10BitFlag : 0), line, rawBytes);
        writing.PutBytes(rawLine, rawBytes);
        return true; // in place of the packets of the vertical area
    }

    if (!WritePackets(writing, line, false, &found)) return false;
    if (!request.MarkEmptyFrame || !isEnd || found) return true;

    const bool isSd = request.ActiveWidth < kSdActiveWidth;
    const uint32_t mark = writing.Index % 2 != 0 ? kEmptyMark2 : kEmptyMark1;
    if (!writing.Fits(writing.FillerBytes() + kHeaderBytes + 4)) return false;
    writing.PutHeader(kHeaderFlag | kHancFlag, line, 4);
    writing.Put(isSd ? kEmptyMark2 : mark);
    writing.Put(isSd ? kEmptyMark1 : mark);
    return true;
}

// Moves the packets of one area out of the store.
bool CAncPlaylistManager::WritePackets(Writing& writing, uint32_t line, bool inHanc, bool* found)
{
    IBlankingData& store = *writing.Request.Store;
    uint32_t count = 0;
    if (store.GetNbPackets(line, writing.Stream, inHanc, &count) != kAncSuccess || count == 0) return true;
    *found = true;

    uint32_t payloadStart = 0; // none yet
    bool fits = true;
    ZEFA_ANC_PACKET* packet = nullptr;
    while (store.RemovePacket(line, writing.Stream, 0, inHanc, &packet) == kAncSuccess && packet)
    {
        const uint32_t words = packet->UserWords_pUS ? packet->DataCount_UB : 0;
        const uint32_t headerBytes = payloadStart == 0 ? writing.FillerBytes() + kHeaderBytes : 0;
        fits = writing.Fits(headerBytes + (words + kPacketOverhead) * 2);
        if (!fits) break;
        if (payloadStart == 0)
        {
            writing.PutHeader(kHeaderFlag | (inHanc ? kHancFlag : 0), line, 0); // the length follows
            payloadStart = writing.Position;
        }
        writing.PutPacket(*packet, words);
    }
    if (payloadStart != 0) Store16(writing.Bytes + payloadStart - 2, writing.Position - payloadStart);
    return fits;
}

void CAncPlaylistManager::ClosePlaylist(Writing& writing, uint32_t endLine, bool isLast)
{
    if (!isLast) // more lines are to follow in another call
    {
        const uint32_t padBytes = kPadBytes - writing.Position % kPadBytes;
        if (uint64_t{writing.Position} + padBytes > writing.Size) return Refuse(writing, endLine);
        const uint32_t end = writing.Position + padBytes;
        for (uint32_t i = 0; i < padBytes / 2; ++i)
            writing.Put(kPad);
        writing.Position = end; // also from an odd position
        return;
    }
    Store32(writing.Bytes + writing.Position, kEndMarker);
    writing.Position += kEndMarkerBytes;
    Store32(writing.Bytes, writing.Position);
    writing.Request.SetFinalSize(writing.BufferType, writing.Position);
}

void CAncPlaylistManager::Refuse(const Writing& writing, uint32_t line) const
{
    ErrorSink.Tell("Playlist%d buffer is too small : Line%d - BufSize_UL=%d", static_cast<int>(writing.Index),
                   static_cast<int>(line), static_cast<int>(writing.Size));
}
} // namespace Quillmont::anc
