// What the tests of ancillary data share: a store and a playlist manager whose texts are kept, and playlists in buffers
// that are exactly as large as they say, so that a look beyond one is seen by the sanitizer.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "anc/CAncPlaylistManager.h"
#include "anc/CBlankingData.h"

using namespace Quillmont::anc;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;
using Words = std::vector<uint16_t>;

inline std::vector<uint32_t> AllStreams()
{
    std::vector<uint32_t> streams;
    for (uint32_t stream = 0; stream < 48; ++stream)
        streams.push_back(stream);
    return streams;
}

// Little-endian, as in a slot.
inline std::vector<uint8_t> BytesOf(const Words& words)
{
    std::vector<uint8_t> bytes;
    for (const uint16_t word : words)
    {
        bytes.push_back(static_cast<uint8_t>(word & 0xFF));
        bytes.push_back(static_cast<uint8_t>(word >> 8));
    }
    return bytes;
}

inline Words operator+(Words left, const Words& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

struct ExactBuffer
{
    ExactBuffer() = default;
    explicit ExactBuffer(uint32_t size) : Bytes(new uint8_t[size]()), Size(size) {}
    explicit ExactBuffer(const Words& words) : ExactBuffer(BytesOf(words)) {}
    explicit ExactBuffer(const std::vector<uint8_t>& bytes) : ExactBuffer(static_cast<uint32_t>(bytes.size()))
    {
        if (!bytes.empty()) std::memcpy(Bytes.get(), bytes.data(), bytes.size());
    }

    std::vector<uint8_t> Content() const { return {Bytes.get(), Bytes.get() + Size}; }

    std::unique_ptr<uint8_t[]> Bytes;
    uint32_t Size = 0;
};

// Three packets, with parity and checksum worked out by hand.
inline const Words kTwoWords{0, 0x3FF, 0x3FF, 0x161, 0x101, 0x102, 0x296, 0x269, 0x263}; // DID 61h, SDID 01h
inline const Words kOneWord{0, 0x3FF, 0x3FF, 0x145, 0x101, 0x101, 0x1FF, 0x146};         // DID 45h, SDID 01h
inline const Words kNoWords{0, 0x3FF, 0x3FF, 0x241, 0x205, 0x200, 0x246};                // DID 41h, SDID 05h

// The head of a playlist of so many bytes.
inline Words Head(uint16_t bytes)
{
    return {bytes, 0, 0, 0};
}
inline const Words kEnd{0xFFFF, 0xFFFF};
inline constexpr uint16_t kFill = 0xFFFF;

// Line 10 with a packet; line 11 with one in its horizontal area and two in the vertical one. 90 bytes.
inline Words TwoLines()
{
    return Head(90) + Words{0x800A, 18} + kTwoWords + Words{kFill, 0xC00B, 14} + kNoWords + Words{kFill, 0x800B, 30} +
           kOneWord + kNoWords + kEnd;
}
inline constexpr uint32_t kPacketEnds[] = {30, 50, 72, 86}; // offsets behind the packets of TwoLines
inline constexpr uint32_t kPlaylist0 = 0x3000000;

class AncTest : public testing::Test
{
protected:
    struct Place
    {
        uint32_t Position = 0;
        uint16_t Line = 0;
        bool operator==(const Place&) const = default;
        friend void PrintTo(const Place& place, std::ostream* out)
        {
            *out << "position " << place.Position << ", line " << place.Line;
        }
    };

    AncTest() { Store.Init(kStandard, false, AllStreams(), 1); }

    static constexpr uint32_t kStandard = 7; // 1920 x 1080, 1125 lines, interlaced

    static TextFunction Into(Texts& texts)
    {
        return [&texts](const std::string& text) { texts.push_back(text); };
    }
    static Texts Take(Texts& texts) { return std::exchange(texts, {}); }

    template <class TRequest>
    TRequest Request()
    {
        TRequest request;
        request.NbChannels = 8;
        request.NbLinks = 1;
        request.StreamLayout = 2;
        request.ActiveWidth = 1920;
        request.ActiveHeight = 1080;
        request.TotalHeight = 1125;
        request.Store = &Store;
        request.GetBuffer = [this](uint32_t type, uint32_t* size) -> uint8_t*
        {
            const auto found = Buffers.find(type);
            if (found == Buffers.end()) return nullptr;
            *size = found->second.Size;
            return found->second.Bytes.get();
        };
        request.GetProgress = [this](uint32_t type, uint32_t* position, uint16_t* line)
        {
            *position = Progress[type].Position;
            *line = Progress[type].Line;
        };
        request.SetProgress = [this](uint32_t type, uint32_t position, uint16_t line) {
            Progress[type] = {position, line};
        };
        return request;
    }

    uint32_t Count(uint32_t line, uint32_t stream = 0)
    {
        uint32_t count = 99;
        EXPECT_EQ(Store.GetTotalNbPackets(line, stream, &count), 0u);
        return count;
    }

    ZEFA_ANC_PACKET* Packet(uint32_t line, uint32_t stream, int32_t index)
    {
        ZEFA_ANC_PACKET* packet = nullptr;
        EXPECT_EQ(Store.GetPacket(line, stream, index, &packet), 0u);
        return packet;
    }

    // A packet of the store's memory, on no line.
    ZEFA_ANC_PACKET* MakePacket(uint8_t did, uint8_t sdid, const Words& words, bool inHanc = false)
    {
        ZEFA_ANC_PACKET* packet = nullptr;
        EXPECT_EQ(Store.AllocatePacket(static_cast<uint8_t>(words.size()), &packet, 0), 0u);
        packet->DID_UB = did;
        packet->SDID_UB = sdid;
        packet->InHANC_B = inHanc;
        for (size_t i = 0; i < words.size(); ++i)
            packet->UserWords_pUS[i] = words[i];
        return packet;
    }

    // What TwoLines says.
    void FillTwoLines(uint32_t stream = 0)
    {
        Store.InsertPacket(10, stream, -1, MakePacket(0x61, 0x01, {0x296, 0x269}));
        Store.InsertPacket(11, stream, -1, MakePacket(0x45, 0x01, {0x1FF}));
        Store.InsertPacket(11, stream, -1, MakePacket(0x41, 0x05, {}, true));
        Store.InsertPacket(11, stream, -1, MakePacket(0x41, 0x05, {}));
    }

    Texts StoreErrors, StoreDebug, Errors, Warnings, Debug;
    CBlankingData Store{Into(StoreErrors), Into(StoreDebug)};
    uint32_t Playlists = 1; // that the manager knows
    CAncPlaylistManager Manager{{.PlaylistToBuffer = [](uint32_t index, uint32_t) { return kPlaylist0 + index; },
                                 .IsValidIndex = [this](uint32_t index) { return index < Playlists; }},
                                {.Error = Into(Errors), .Warning = Into(Warnings), .Debug = Into(Debug)}};
    std::map<uint32_t, ExactBuffer> Buffers;
    std::map<uint32_t, Place> Progress;
};
