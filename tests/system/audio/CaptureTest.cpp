// Captures of senders from the field, where there are any: what comes out of the library is what the packets hold.
#include "AudioRoad.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

using namespace test;

namespace
{

struct Captured
{
    uint32_t destination; // host order
    Bytes rtp;

    uint32_t Timestamp() const { return Number(4); }
    Bytes Samples() const { return Bytes(rtp.begin() + 12, rtp.end()); }

private:
    uint32_t Number(size_t at) const
    {
        return uint32_t(rtp[at]) << 24 | uint32_t(rtp[at + 1]) << 16 | uint32_t(rtp[at + 2]) << 8 | rtp[at + 3];
    }
};

uint32_t Big16(const Bytes& bytes, size_t at)
{
    return uint32_t(bytes.at(at)) << 8 | bytes.at(at + 1);
}

uint32_t Little32(const Bytes& bytes, size_t at)
{
    return bytes.at(at) | uint32_t(bytes.at(at + 1)) << 8 | uint32_t(bytes.at(at + 2)) << 16 |
           uint32_t(bytes.at(at + 3)) << 24;
}

// UDP over IPv4 over Ethernet, from a little-endian pcap file; other packets are left out.
std::vector<Captured> ReadCapture(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    const Bytes bytes{std::istreambuf_iterator<char>(file), {}};
    std::vector<Captured> packets;
    constexpr size_t kFileHeader = 24, kRecordHeader = 16, kEthernet = 14, kUdp = 8;
    for (size_t at = kFileHeader; at + kRecordHeader <= bytes.size();)
    {
        const size_t length = Little32(bytes, at + 8);
        at += kRecordHeader;
        if (at + length > bytes.size()) break;
        const Bytes frame(bytes.begin() + long(at), bytes.begin() + long(at + length));
        at += length;
        if (length < kEthernet + 20 || Big16(frame, 12) != 0x0800 || frame[kEthernet + 9] != IPPROTO_UDP) continue;
        const size_t udp = kEthernet + 4 * (frame[kEthernet] & 15u);
        const size_t end = udp + Big16(frame, udp + 4);
        packets.push_back({Big16(frame, kEthernet + 16) << 16 | Big16(frame, kEthernet + 18),
                           Bytes(frame.begin() + long(udp + kUdp), frame.begin() + long(end))});
    }
    return packets;
}

class AudioCapture : public testing::Test
{
protected:
    // Sends what `pass` lets through, each destination on a path of its own, and takes the slots that are complete.
    void Replay(const std::string& name, AudioFormat format, uint32_t payloadType,
                const std::function<bool(size_t path, size_t index)>& pass)
    {
        const std::string path = std::string(ZEFALINE_CAPTURES) + "/" + name;
        if (!std::filesystem::exists(path)) GTEST_SKIP() << "no capture " << path;
        const std::vector<Captured> packets = ReadCapture(path);
        ASSERT_GT(packets.size(), 1000u);

        std::map<uint32_t, size_t> paths;
        for (const Captured& packet : packets)
            paths.emplace(packet.destination, paths.size());
        AudioSettings settings{.format = format, .payloadType = payloadType};
        settings.slots = uint32_t(packets.size() / format.packetsPerBuffer) + 4;
        for (size_t i = 0; i < paths.size(); ++i)
            settings.paths.push_back(FreeEndpoint());
        Receive = std::make_unique<AudioStream>(With, ZEFA_STREAM_TYPE_RX, settings);
        Receive->Start();

        UdpSocket source;
        std::vector<size_t> index(paths.size());
        uint32_t end = 0;
        for (size_t i = 0; i < packets.size(); ++i)
        {
            const size_t way = paths.at(packets[i].destination);
            if (pass(way, index[way]++))
            {
                source.Send(settings.paths[way], packets[i].rtp);
                Sent[packets[i].Timestamp()] = packets[i].Samples();
                end = packets[i].Timestamp() + format.PacketFrames();
            }
            if (i % 64 == 63) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }

        std::optional<uint32_t> next;
        while (!next || end - *next >= format.SlotFrames())
        {
            std::optional<SlotBuffer> slot = Receive->Take();
            ASSERT_TRUE(slot) << Slots.size() << " slots came";
            if (next)
            {
                EXPECT_EQ(*next, slot->timestamps.at(0).Value_UL);
            }
            next = slot->timestamps.at(0).Value_UL + format.SlotFrames();
            Slots.push_back(std::move(*slot));
        }
        Format = format;
    }

    // Counters follow the slots by a moment.
    void ExpectCounted(std::optional<uint64_t> transferred, uint64_t lost)
    {
        ASSERT_TRUE(Receive);
        EXPECT_TRUE(Await(
            [&]
            {
                const ZEFA_STREAM_NETWORK_STATUS status = Receive->NetworkStatus();
                return status.LostPacketsCount_ULL == lost &&
                       status.TotalTransferredPacketCount_ULL ==
                           transferred.value_or(status.TotalTransferredPacketCount_ULL);
            }))
            << Receive->NetworkStatus().LostPacketsCount_ULL << " lost of "
            << Receive->NetworkStatus().TotalTransferredPacketCount_ULL;
    }

    // Packets of the slots whose samples are those of the capture; what the capture does not have is silent and told.
    size_t CountRightPackets() const
    {
        size_t right = 0;
        for (const SlotBuffer& slot : Slots)
        {
            Bytes missing(slot.bytes.size(), 0);
            for (const ZEFA_LOST_DATA& loss : slot.losses)
                std::fill_n(missing.begin() + loss.Position_UL, loss.Size_UL, uint8_t{1});
            for (uint32_t i = 0; i < Format.packetsPerBuffer; ++i)
            {
                const auto at = long(i * Format.PacketBytes()), end = long((i + 1) * Format.PacketBytes());
                const auto sent = Sent.find(slot.timestamps.at(0).Value_UL + i * Format.PacketFrames());
                const bool there = sent != Sent.end();
                const Bytes expected = there ? sent->second : Bytes(Format.PacketBytes(), 0);
                EXPECT_EQ(Bytes(Format.PacketBytes(), there ? 0 : 1),
                          Bytes(missing.begin() + at, missing.begin() + end));
                right += expected == Bytes(slot.bytes.begin() + at, slot.bytes.begin() + end);
            }
        }
        return right;
    }

    MxsProcess Service;
    Session With{Service.ServiceUrl()};
    AudioFormat Format;
    std::map<uint32_t, Bytes> Sent; // by timestamp
    std::unique_ptr<AudioStream> Receive;
    std::vector<SlotBuffer> Slots;
};

constexpr AudioFormat kStereo{.codec = ZEFA_SDP_AUDIO_CODEC_L16, .channels = 2, .packetsPerBuffer = 100};
constexpr AudioFormat kMono{.packetTime = ZEFA_SDP_PACKET_TIME_125US, .channels = 1, .packetsPerBuffer = 160}; // L24

} // namespace

TEST_F(AudioCapture, L16OfOneMillisecondComesOutSampleForSample)
{
    Replay("l16_48000_2ch_1ms.pcap", kStereo, 98, [](size_t, size_t) { return true; });
    if (IsSkipped()) return;

    EXPECT_EQ(100u, Slots.size());
    EXPECT_EQ(Slots.size() * 100, CountRightPackets());
    ExpectCounted(10062, 0);
}

TEST_F(AudioCapture, LossesInItAreSilentAndReported)
{
    const auto lost = [](size_t index) { return index > 0 && index < 10000 && index % 13 == 5; };
    Replay("l16_48000_2ch_1ms.pcap", kStereo, 98, [&](size_t, size_t index) { return !lost(index); });
    if (IsSkipped()) return;

    EXPECT_EQ(Slots.size() * 100, CountRightPackets());
    ExpectCounted({}, 769); // 5, 18, ... 9989
}

TEST_F(AudioCapture, TheTwoLegsOfARedundantStreamAreOne)
{
    Replay("ST2022-7-Audio.pcap", kMono, 96, [](size_t, size_t) { return true; });
    if (IsSkipped()) return;

    EXPECT_EQ(100u, Slots.size());
    EXPECT_EQ(Slots.size() * 160, CountRightPackets());
    ExpectCounted(32000, 0);
}

TEST_F(AudioCapture, LegsThatLoseDifferentPacketsAreWholeTogether)
{
    // The legs begin one packet apart, so that these are never the same packet.
    Replay("ST2022-7-Audio.pcap", kMono, 96,
           [](size_t path, size_t index) { return index < 8 || index % 8 != (path == 0 ? 2u : 5u); });
    if (IsSkipped()) return;

    EXPECT_EQ(Slots.size() * 160, CountRightPackets());
    ExpectCounted({}, 0);
}
