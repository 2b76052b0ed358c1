// From playlists to the store. Playlists come from another process: every word is looked for inside the buffer first.
#include "anc/CAncPlaylistManager.h"
#include "anc/LineRange.h"
#include "anc/PlaylistFormat.h"

#include <algorithm>
#include <cstring>

namespace Quillmont::anc
{
namespace
{
constexpr uint32_t kNoWord = 0x10000;    // behind the end of the buffer
constexpr uint32_t kSdBytesWidth = 1280; // below it a raw line has two bytes for each sample of its active width
constexpr uint32_t kSmallestPacketBytes = kPacketOverhead * 2;

bool IsEmptyMark(uint32_t word)
{
    return word == kEmptyMark1 || word == kEmptyMark2;
}
} // namespace

struct CAncPlaylistManager::Reading
{
    const ANC_PARSE_REQUEST& Request;
    const LineRange Lines;
    const uint32_t Index, Stream;
    uint8_t* const Bytes;
    const uint32_t Size;
    uint32_t Position; // never beyond Size

    uint32_t Line; // the last one seen
    bool InLine = false, InHanc = false;
    bool HeaderSeen = false; // in this call
    uint32_t LineStart = 0;  // the first header of Line

    uint32_t Remaining() const { return Size - Position; }
    uint8_t* Cursor() const { return Bytes + Position; }
    uint32_t Word(uint32_t index) const
    {
        return Remaining() / 2 > index ? Load16(Cursor() + size_t{index} * 2) : kNoWord;
    }
    void Step(uint32_t bytes) { Position += std::min(bytes, Remaining()); }
    void StepToEnd() { Position = Size; }
    void StepOverPad() { Step(kPadBytes - Position % kPadBytes); }

    // A word behind the end cannot speak against a packet.
    bool IsPacketAt(uint32_t index) const
    {
        if (Remaining() / 2 >= uint64_t{index} + 3) return IsFlag(Cursor() + size_t{index} * 2);
        return Word(index) == 0 && Word(index + 1) >= kFlagWordFloor && Word(index + 2) >= kFlagWordFloor;
    }
    static bool IsFlag(const uint8_t* at)
    {
        return Load16(at) == 0 && Load16(at + 2) >= kFlagWordFloor && Load16(at + 4) >= kFlagWordFloor;
    }

    enum class Follower
    {
        Packet,
        Other, // a header, padding, or the end of the buffer
        None   // nothing that may follow a packet
    };
    Follower FollowerAt(uint32_t index) const
    {
        if (Remaining() >= (uint64_t{index} + 4) * 2 && IsUsualFlag(Cursor() + size_t{index} * 2)) [[likely]]
            return Follower::Packet;
        const uint32_t word = Word(index);
        if (word == 0) return IsPacketAt(index) ? Follower::Packet : Follower::None;
        return word >= kHeaderFlag || word == kPad ? Follower::Other : Follower::None; // kNoWord is above the flag
    }
    // In four words at once what IsFlag finds in three: a flag of words up to 1023, as nearly all are.
    static bool IsUsualFlag(const uint8_t* at)
    {
        static_assert(kFlagWordFloor == 0x3FC);
        return (Load64(at) & 0x0000'FFFC'FFFC'FFFF) == 0x0000'03FC'03FC'0000;
    }

    // Steps over what stands between sections; false when the word is none of it.
    bool PassMark(uint32_t word)
    {
        if (word == kNoWord) // half a word
        {
            StepToEnd();
            return true;
        }
        if (word == kFiller && Word(1) == kFiller)
            StepToEnd();
        else if (word == kFiller)
            Step(2);
        else if (word == kPad || (IsEmptyMark(word) && IsEmptyMark(Word(1)) && Word(2) == kPad))
            StepOverPad();
        else
            return false;
        InLine = false;
        return true;
    }
};

uint32_t CAncPlaylistManager::Parse(const ANC_PARSE_REQUEST& request)
{
    const uint32_t playlists = request.NbChannels * request.NbLinks * 2;
    for (uint32_t index = 0; index < playlists; ++index)
    {
        if (!Exists(index, request.ActiveWidth)) continue;
        const uint32_t bufferType = Playlists.PlaylistToBuffer(index, request.NbLinks);
        const uint32_t stream = StreamOf(index);
        uint32_t bufferSize = 0;
        uint8_t* const buffer = request.GetBuffer(bufferType, &bufferSize);
        if (!buffer || bufferSize == 0)
        {
            DebugSink.Tell("Playlist%d buffer is empty : pBufPtr_UB=%ph - BufSize_UL=%d", static_cast<int>(index),
                           static_cast<void*>(buffer), static_cast<int>(bufferSize));
            continue;
        }

        uint32_t begin = 0;
        uint16_t beginLine = 0;
        request.GetProgress(bufferType, &begin, &beginLine);
        uint32_t size = bufferSize;
        bool complete = true;
        if (request.HasGetAvailable)
        {
            if (const uint32_t result = request.GetAvailable(bufferType, &size, &complete); result != kAncSuccess)
                return result;
            size = std::min(size, bufferSize);
        }
        if (begin >= size) continue;

        Reading reading{request, LinesOf(request), index, stream, buffer, size, begin, beginLine};
        uint32_t result = ReadPlaylist(reading);
        if (complete)
        {
            request.SetProgress(bufferType, size, static_cast<uint16_t>(reading.Line));
        }
        else if (!reading.HeaderSeen) // nothing new began: the next call goes on from here
        {
            result = kAncSuccess;
            request.SetProgress(bufferType, begin, beginLine);
        }
        else
        {
            // The rest of the line may be on its way: it is read again, from its first header on.
            request.Store->RemovePacket(reading.Line, stream, kAllPackets, true, nullptr);
            request.Store->RemovePacket(reading.Line, stream, kAllPackets, false, nullptr);
            result = kAncSuccess;
            request.SetProgress(bufferType, reading.LineStart, static_cast<uint16_t>(reading.Line - 1));
        }
        if (reading.Remaining() != 0) return result;
    }
    return kAncSuccess;
}

uint32_t CAncPlaylistManager::ReadHeader(Reading& reading, uint32_t word)
{
    const uint32_t line = word & kLineNumberMask;
    if (!reading.Lines.Contains(line))
    {
        ErrorSink.Tell("Invalid line number at %08xh in playlist%d", reading.Position, static_cast<int>(reading.Index));
        return kAncInvalidData;
    }
    if (!reading.HeaderSeen || line != reading.Line) reading.LineStart = reading.Position;
    reading.HeaderSeen = true;
    reading.Line = line;
    if (word & kRawLineFlag) return ReadRawLine(reading, word, line);

    reading.InHanc = (word & kHancFlag) != 0;
    reading.InLine = true;
    if (DebugSink.Wanted()) // of the vertical area too
        DebugSink.Tell("New HANC line %d detected at %08xh -> get it", static_cast<int>(line), reading.Position);
    reading.Step(kHeaderBytes);
    return kAncSuccess;
}

uint32_t CAncPlaylistManager::ReadRawLine(Reading& reading, uint32_t word, uint32_t line)
{
    const ANC_PARSE_REQUEST& request = reading.Request;
    if (request.Vbi10Bit && !(word & kRawLine10BitFlag))
    {
        ErrorSink.Tell("VBI 10-bits incoherence between property and playlist flag in playlist%d",
                       static_cast<int>(reading.Index));
        return kAncInvalidData;
    }
    DebugSink.Tell("New VBI line %d detected at %08xh -> get it", static_cast<int>(line), reading.Position);
    // The header's own length does not count.
    const uint64_t lineBytes = uint64_t{request.ActiveWidth} * (request.ActiveWidth < kSdBytesWidth ? 2 : 1) *
                               (word & kRawLine10BitFlag ? 2 : 1);
    if (reading.Remaining() < lineBytes + kHeaderBytes)
    {
        ErrorSink.Tell("Invalid data at %08xh in playlist%d (remaining buffer size too small for a new VBI line)",
                       reading.Position, static_cast<int>(reading.Index));
        return kAncInvalidData;
    }

    uint8_t* data = reading.Cursor() + kHeaderBytes;
    uint8_t* before = nullptr;
    uint32_t room = 0; // what the store takes for a raw line, and what it will give out as one
    request.Store->GetVbiLine(line, reading.Stream, &before, &room);
    if (request.CopyAll || lineBytes < room) // nobody may look for the rest of a short line in the buffer behind it
    {
        uint8_t* const copy = request.Store->AllocateVbiLine(0);
        if (!copy) return kAncNoMemory;
        const size_t copied = std::min<uint64_t>(lineBytes, room);
        std::memcpy(copy, data, copied);
        std::memset(copy + copied, 0, room - copied);
        data = copy;
    }
    if (const uint32_t result = request.Store->SetVbiLine(line, reading.Stream, data); result != kAncSuccess)
        return result;
    reading.InLine = false;
    reading.Step(kHeaderBytes + static_cast<uint32_t>(lineBytes));
    return kAncSuccess;
}

// One packet and those that follow it at once: whatever stands here is paid for with each of them.
uint32_t CAncPlaylistManager::ReadPackets(Reading& reading)
{
    const auto index = static_cast<int>(reading.Index);
    if (!reading.InLine)
    {
        ErrorSink.Tell("Invalid data at %08xh in playlist%d (out of line context)", reading.Position, index);
        return kAncInvalidData;
    }
    if (reading.Remaining() < kSmallestPacketBytes)
    {
        ErrorSink.Tell("Invalid data at %08xh in playlist%d (remaining buffer size too small to contain an ANC packet)",
                       reading.Position, index);
        return kAncInvalidData;
    }
    if (!reading.IsPacketAt(0))
    {
        ErrorSink.Tell("Invalid data at %08xh in playlist%d", reading.Position, index);
        return kAncInvalidData;
    }

    const ANC_PARSE_REQUEST& request = reading.Request;
    IBlankingData& store = *request.Store;
    const bool copiesAll = request.CopyAll || request.CopyWords;
    Reading::Follower follower;
    do
    {
        uint8_t* const bytes = reading.Cursor();
        const uint8_t dataCount = bytes[kWordsBeforeDataCount * 2];
        follower = reading.FollowerAt(dataCount + kPacketOverhead);
        if (follower == Reading::Follower::None) [[unlikely]]
        {
            WarningSink.Tell("ANC corrupted data found. Move on and stop to next packet or next line header");
            Resynchronise(reading);
            return kAncSuccess;
        }

        uint8_t* const userWords = bytes + kWordsBeforeUserWords * 2;
        const bool isOdd = reinterpret_cast<uintptr_t>(userWords) % alignof(uint16_t) != 0;
        const bool copies = copiesAll || isOdd; // a word pointer must not be odd
        ZEFA_ANC_PACKET* packet = nullptr;
        if (store.AllocatePacket(copies ? dataCount : 0, &packet, 0) != kAncSuccess || !packet) [[unlikely]]
        {
            ErrorSink.Tell("Cannot create new ANC packet structure");
            return kAncNoMemory;
        }
        const uint32_t packetBytes = dataCount * 2 + kSmallestPacketBytes;
        const bool whole = reading.Remaining() >= packetBytes;
        packet->DID_UB = bytes[6];
        packet->SDID_UB = bytes[8];
        packet->DataCount_UB = dataCount;
        packet->InHANC_B = reading.InHanc;
        if (!copies)
            packet->UserWords_pUS = reinterpret_cast<uint16_t*>(userWords);
        else if (packet->UserWords_pUS && whole)
            std::memcpy(packet->UserWords_pUS, userWords, dataCount * 2 + 2);

        if (DebugSink.Wanted()) [[unlikely]]
            DebugSink.Tell("New ANC packet : DID=%02xh DC=%02xh detected at %08xh", packet->DID_UB,
                           packet->DataCount_UB, reading.Position);
        if (!whole) [[unlikely]]
        {
            ErrorSink.Tell(
                "Invalid data at %08xh in playlist%d (remaining buffer size too small for target ANC data count)",
                reading.Position, index);
            return kAncInvalidData;
        }
        const uint32_t result = store.InsertPacket(reading.Line, reading.Stream, kBehindTheLast, packet);
        if (result != kAncSuccess) [[unlikely]]
            return result;
        reading.Position += packetBytes;
    } while (follower == Reading::Follower::Packet && reading.Remaining() >= kSmallestPacketBytes);
    return kAncSuccess;
}

// Drops what stands at the cursor. A header counts only with two zero words behind it, so that packets of the next line
// may be taken for packets of this one.
void CAncPlaylistManager::Resynchronise(Reading& reading)
{
    do
    {
        reading.Step(2);
        const uint32_t word = reading.Word(0);
        if (reading.Remaining() < 6) continue; // three words are looked at
        const bool isHeader = word >= kHeaderFlag && word < kFiller && reading.Word(1) == 0 && reading.Word(2) == 0;
        if (isHeader || reading.IsPacketAt(0)) return;
    } while (reading.Remaining() >= 3);
}

uint32_t CAncPlaylistManager::ReadPlaylist(Reading& reading)
{
    if (reading.Position == 0) reading.Step(kPlaylistHeadBytes);
    while (reading.Remaining() != 0)
    {
        const uint32_t word = reading.Word(0);
        if (word != 0 && reading.PassMark(word)) continue; // 0, a packet, stands there far more often than all else
        const uint32_t result = word & kHeaderFlag ? ReadHeader(reading, word) : ReadPackets(reading);
        if (result != kAncSuccess) return result; // ReadPackets says what is wrong with anything else
    }
    return kAncSuccess;
}
} // namespace Quillmont::anc
