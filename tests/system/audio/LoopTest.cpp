// Audio from a transmit stream to a receive stream through the service: every format, both paths, every mishap.
#include "AudioRoad.h"

using namespace test;

namespace
{

constexpr uint32_t kFirstTimestamp = 0xFFFFFE00; // wraps under way

// The samples of `slots` slots, sent at once and with timestamps of the application: what comes out does not depend on
// how fast the machine is.
class AudioRoad : public testing::Test
{
protected:
    static Bytes Samples(const AudioFormat& format, uint32_t slots) { return Noise(format.SlotBytes() * slots, 5); }

    static void SendAll(AudioStream& stream, const AudioFormat& format, const Bytes& samples)
    {
        for (size_t at = 0, slot = 0; at < samples.size(); at += format.SlotBytes(), ++slot)
            ASSERT_NO_FATAL_FAILURE(
                stream.Put(samples.data() + at, kFirstTimestamp + uint32_t(slot) * format.SlotFrames()));
    }

    // Takes slots until all frames behind the first timestamp are there.
    static std::vector<SlotBuffer> TakeAll(AudioStream& stream, uint32_t slots)
    {
        std::vector<SlotBuffer> taken;
        while (taken.size() < slots)
        {
            std::optional<SlotBuffer> slot = stream.Take();
            if (!slot) break;
            taken.push_back(std::move(*slot));
        }
        return taken;
    }

    static Bytes Part(const Bytes& bytes, size_t at, size_t count)
    {
        return Bytes(bytes.begin() + long(at), bytes.begin() + long(at + count));
    }

    MxsProcess Service{kSendsLate};
    Session With{Service.ServiceUrl()};
};

struct FormatCase
{
    const char* name;
    uint32_t codec, rate, packetTime, channels;
};

constexpr uint32_t k16 = ZEFA_SDP_AUDIO_CODEC_L16, k24 = ZEFA_SDP_AUDIO_CODEC_L24;
constexpr uint32_t k48 = ZEFA_SDP_AUDIO_RATE_48000, k96 = ZEFA_SDP_AUDIO_RATE_96000;
constexpr uint32_t k1Ms = ZEFA_SDP_PACKET_TIME_1MS, k125Us = ZEFA_SDP_PACKET_TIME_125US;

// All that fit into a packet, of 1, 2, 8 and 16 channels, and the most that do.
const FormatCase kFormats[] = {
    {"L16_48000_1ms_1", k16, k48, k1Ms, 1},         {"L16_48000_1ms_2", k16, k48, k1Ms, 2},
    {"L16_48000_1ms_8", k16, k48, k1Ms, 8},         {"L16_48000_1ms_15", k16, k48, k1Ms, 15},
    {"L16_48000_125us_1", k16, k48, k125Us, 1},     {"L16_48000_125us_2", k16, k48, k125Us, 2},
    {"L16_48000_125us_8", k16, k48, k125Us, 8},     {"L16_48000_125us_16", k16, k48, k125Us, 16},
    {"L16_96000_1ms_1", k16, k96, k1Ms, 1},         {"L16_96000_1ms_2", k16, k96, k1Ms, 2},
    {"L16_96000_125us_1", k16, k96, k125Us, 1},     {"L16_96000_125us_2", k16, k96, k125Us, 2},
    {"L16_96000_125us_8", k16, k96, k125Us, 8},     {"L16_96000_125us_16", k16, k96, k125Us, 16},
    {"L24_48000_1ms_1", k24, k48, k1Ms, 1},         {"L24_48000_1ms_2", k24, k48, k1Ms, 2},
    {"L24_48000_1ms_8", k24, k48, k1Ms, 8},         {"L24_48000_125us_1", k24, k48, k125Us, 1},
    {"L24_48000_125us_2", k24, k48, k125Us, 2},     {"L24_48000_125us_8", k24, k48, k125Us, 8},
    {"L24_48000_125us_16", k24, k48, k125Us, 16},   {"L24_48000_125us_80", k24, k48, k125Us, 80},
    {"L24_96000_1ms_1", k24, k96, k1Ms, 1},         {"L24_96000_1ms_2", k24, k96, k1Ms, 2},
    {"L24_96000_125us_1", k24, k96, k125Us, 1},     {"L24_96000_125us_2", k24, k96, k125Us, 2},
    {"L24_96000_125us_8", k24, k96, k125Us, 8},     {"L24_96000_125us_16", k24, k96, k125Us, 16},
    {"L16_48000_125us_120", k16, k48, k125Us, 120}, {"L16_96000_1ms_7", k16, k96, k1Ms, 7},
    {"L16_96000_125us_60", k16, k96, k125Us, 60},   {"L24_48000_1ms_10", k24, k48, k1Ms, 10},
    {"L24_96000_1ms_5", k24, k96, k1Ms, 5},         {"L24_96000_125us_40", k24, k96, k125Us, 40},
};

class AudioLoopFormat : public AudioRoad, public testing::WithParamInterface<FormatCase>
{
};

} // namespace

TEST_P(AudioLoopFormat, EverySampleAndTimestampArrivesAsItWasSent)
{
    constexpr uint32_t kSlots = 10;
    const FormatCase& each = GetParam();
    const AudioFormat format{each.codec, each.rate, each.packetTime, each.channels,
                             each.packetTime == k1Ms ? 10u : 80u};
    const Endpoint port = FreeEndpoint();
    AudioStream receive(With, ZEFA_STREAM_TYPE_RX, {.format = format, .paths = {port}, .slots = kSlots + 4});
    AudioStream send(With, ZEFA_STREAM_TYPE_TX, {.format = format, .paths = {port}, .slots = kSlots});
    receive.Start();
    send.Start();
    const Bytes samples = Samples(format, kSlots);

    SendAll(send, format, samples);
    const std::vector<SlotBuffer> slots = TakeAll(receive, kSlots);

    ASSERT_EQ(kSlots, slots.size());
    for (uint32_t i = 0; i < kSlots; ++i)
    {
        EXPECT_TRUE(slots[i].bytes == Part(samples, i * format.SlotBytes(), format.SlotBytes())) << "slot " << i;
        EXPECT_TRUE(slots[i].losses.empty());
        ASSERT_EQ(1u, slots[i].timestamps.size());
        EXPECT_EQ(0u, slots[i].timestamps[0].Position_UL);
        EXPECT_EQ(kFirstTimestamp + i * format.SlotFrames(), slots[i].timestamps[0].Value_UL);
    }
    EXPECT_TRUE(Await([&] { return receive.NetworkStatus().PayloadType_UB == 97; }));
    EXPECT_EQ(0u, receive.NetworkStatus().LostPacketsCount_ULL);
    EXPECT_TRUE(Await(
        [&] { return send.NetworkStatus().TotalTransferredPacketCount_ULL == kSlots * format.packetsPerBuffer; }));
}

INSTANTIATE_TEST_SUITE_P(Formats, AudioLoopFormat, testing::ValuesIn(kFormats),
                         [](const auto& instance) { return instance.param.name; });

namespace
{

// A transmit stream, a relay, a receive stream; slots of 20 ms.
class AudioLoop : public AudioRoad
{
protected:
    static constexpr uint32_t kSlots = 15;
    const AudioFormat Format{.packetsPerBuffer = 20};
    const Bytes Sent = Samples(Format, kSlots);

    void Run(size_t paths, Relay::Rule rule)
    {
        std::vector<Relay::Path> ways;
        std::vector<Endpoint> from, to;
        for (size_t i = 0; i < paths; ++i)
        {
            ways.push_back({FreeEndpoint(), FreeEndpoint()});
            from.push_back(ways.back().from);
            to.push_back(ways.back().to);
        }
        Relay relay(ways, std::move(rule));
        Receive = std::make_unique<AudioStream>(With, ZEFA_STREAM_TYPE_RX,
                                                AudioSettings{.format = Format, .paths = to, .slots = kSlots + 4});
        AudioStream send(With, ZEFA_STREAM_TYPE_TX, {.format = Format, .paths = from, .slots = kSlots});
        Receive->Start();
        send.Start();
        SendAll(send, Format, Sent);
        Slots = TakeAll(*Receive, kSlots);
    }

    // The packets with these places in the stream are silent and reported; all others are as they were sent.
    void ExpectHoles(const std::function<bool(uint32_t)>& missing) const
    {
        ASSERT_EQ(kSlots, Slots.size());
        uint64_t holes = 0;
        for (uint32_t slot = 0; slot < kSlots; ++slot)
        {
            EXPECT_EQ(kFirstTimestamp + slot * Format.SlotFrames(), Slots[slot].timestamps.at(0).Value_UL);
            Bytes expected = Part(Sent, slot * Format.SlotBytes(), Format.SlotBytes());
            Bytes marks(Format.SlotBytes(), 0), reported(Format.SlotBytes(), 0);
            for (uint32_t i = 0; i < Format.packetsPerBuffer; ++i)
            {
                if (!missing(slot * Format.packetsPerBuffer + i)) continue;
                ++holes;
                std::fill_n(expected.begin() + long(i * Format.PacketBytes()), Format.PacketBytes(), uint8_t{0});
                std::fill_n(marks.begin() + long(i * Format.PacketBytes()), Format.PacketBytes(), uint8_t{1});
            }
            for (const ZEFA_LOST_DATA& loss : Slots[slot].losses)
                std::fill_n(reported.begin() + loss.Position_UL, loss.Size_UL, uint8_t{1});
            EXPECT_TRUE(Slots[slot].bytes == expected) << "slot " << slot;
            EXPECT_TRUE(reported == marks) << "slot " << slot;
        }
        EXPECT_TRUE(Await([&] { return Receive->NetworkStatus().LostPacketsCount_ULL == holes; })) << holes;
    }

    std::unique_ptr<AudioStream> Receive;
    std::vector<SlotBuffer> Slots;
};

// Where both ends of the stream are whole: its place is known and its last slot is complete.
bool IsInside(uint32_t index)
{
    return index > 0 && index < 15 * 20 - 1;
}

} // namespace

TEST_F(AudioLoop, PacketsOutOfOrderMakeTheSameSlots)
{
    Run(1,
        [](size_t, uint32_t index)
        {
            // Never so near to the end of a slot that nothing of it overtakes.
            return index % 20 < 17 && index % 8 == 2 ? Relay::Fate::Hold : Relay::Fate::Pass;
        });
    ExpectHoles([](uint32_t) { return false; });
}

TEST_F(AudioLoop, LostPacketsAreSilentAndReported)
{
    const auto lost = [](uint32_t index) { return IsInside(index) && (index % 9 == 4 || (index > 99 && index < 131)); };
    Run(1, [&](size_t, uint32_t index) { return lost(index) ? Relay::Fate::Lose : Relay::Fate::Pass; });
    ExpectHoles(lost);
}

TEST_F(AudioLoop, ALossyPathBesideAWholeOneLosesNothing)
{
    Run(2, [](size_t path, uint32_t index)
        { return path == 0 && index % 3 == 1 ? Relay::Fate::Lose : Relay::Fate::Pass; });
    ExpectHoles([](uint32_t) { return false; });
}

TEST_F(AudioLoop, TwoLossyPathsLoseWhatBothLose)
{
    const auto lostOn = [](size_t path, uint32_t index)
    { return IsInside(index) && (index % 7 == 3 || index % 5 == (path == 0 ? 1u : 2u)); };
    Run(2, [&](size_t path, uint32_t index) { return lostOn(path, index) ? Relay::Fate::Lose : Relay::Fate::Pass; });
    ExpectHoles([&](uint32_t index) { return lostOn(0, index) && lostOn(1, index); });
}

TEST_F(AudioLoop, APathThatDiesLeavesNoGap)
{
    Run(2,
        [](size_t path, uint32_t index) { return path == 0 && index >= 133 ? Relay::Fate::Lose : Relay::Fate::Pass; });
    ExpectHoles([](uint32_t) { return false; });
    EXPECT_TRUE(Await([&] { return Receive->NetworkStatus().TotalTransferredPacketCount_ULL == 15 * 20 + 133; }));
}

TEST_F(AudioRoad, AudioDelayedByTheApplicationMovesByAsMuch)
{
    const AudioFormat format;
    constexpr uint32_t kSlots = 12, kFrom = 7000;
    for (const size_t delayMs : {1u, 7u, 25u})
    {
        const Endpoint in = FreeEndpoint(), out = FreeEndpoint();
        AudioStream heard(With, ZEFA_STREAM_TYPE_RX, {.format = format, .paths = {in}, .slots = kSlots + 4});
        AudioStream send(With, ZEFA_STREAM_TYPE_TX, {.format = format, .paths = {out}, .slots = kSlots});
        AudioStream receive(With, ZEFA_STREAM_TYPE_RX, {.format = format, .paths = {out}, .slots = kSlots + 4});
        heard.Start();
        receive.Start();
        send.Start();
        const Bytes samples = Samples(format, kSlots);
        UdpSocket source;
        for (uint32_t i = 0; i < kSlots * format.packetsPerBuffer; ++i)
            source.Send(in, AudioPacket(uint16_t(i), kFrom + i * format.PacketFrames(),
                                        samples.data() + i * format.PacketBytes(), format.PacketBytes()));

        Bytes line(delayMs * 48 * format.FrameBytes(), 0); // what the application holds back
        for (uint32_t slot = 0; slot < kSlots; ++slot)
        {
            const std::optional<SlotBuffer> taken = heard.Take();
            ASSERT_TRUE(taken);
            line.insert(line.end(), taken->bytes.begin(), taken->bytes.end());
            ASSERT_NO_FATAL_FAILURE(send.Put(line.data(), taken->timestamps.at(0).Value_UL));
            line.erase(line.begin(), line.begin() + long(format.SlotBytes()));
        }

        Bytes moved;
        for (const SlotBuffer& slot : TakeAll(receive, kSlots))
        {
            EXPECT_EQ(kFrom + moved.size() / format.FrameBytes(), slot.timestamps.at(0).Value_UL);
            moved.insert(moved.end(), slot.bytes.begin(), slot.bytes.end());
        }
        // The sample of timestamp t is now at t and as many milliseconds more.
        Bytes expected(delayMs * 48 * format.FrameBytes(), 0);
        expected.insert(expected.end(), samples.begin(), samples.end() - long(expected.size()));
        EXPECT_TRUE(expected == moved) << delayMs << " ms";
    }
}

namespace
{

class AudioPause : public AudioRoad, public testing::WithParamInterface<uint32_t> // milliseconds
{
};

} // namespace

TEST_P(AudioPause, SendingGoesOnByItselfAtTheTimeOfTheClock)
{
    const uint32_t pauseMs = GetParam();
    const AudioFormat format; // slots of 10 ms
    constexpr uint32_t kSlots = 8;
    const Endpoint port = FreeEndpoint();
    AudioStream receive(With, ZEFA_STREAM_TYPE_RX, {.format = format, .paths = {port}, .slots = 64});
    AudioStream send(With, ZEFA_STREAM_TYPE_TX, {.format = format, .paths = {port}, .slots = 2 * kSlots});
    receive.Start();
    send.Start();
    const Bytes samples = Samples(format, 2 * kSlots);
    const auto put = [&](uint32_t from)
    {
        for (uint32_t slot = from; slot < from + kSlots; ++slot)
            ASSERT_NO_FATAL_FAILURE(send.Put(samples.data() + slot * format.SlotBytes(), {}));
    };

    put(0);
    ASSERT_TRUE(
        Await([&] { return send.NetworkStatus().TotalProcessedPacketCount_ULL == kSlots * format.packetsPerBuffer; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
    put(kSlots);

    // What is not reported as missing is what was sent, in order and whole.
    Bytes heard;
    uint32_t first = 0, last = 0;
    while (heard.size() < samples.size())
    {
        const std::optional<SlotBuffer> slot = receive.Take();
        ASSERT_TRUE(slot);
        last = slot->timestamps.at(0).Value_UL;
        if (heard.empty()) first = last;
        size_t at = 0;
        for (const ZEFA_LOST_DATA& loss : slot->losses)
        {
            heard.insert(heard.end(), slot->bytes.begin() + long(at), slot->bytes.begin() + long(loss.Position_UL));
            at = loss.Position_UL + loss.Size_UL;
        }
        heard.insert(heard.end(), slot->bytes.begin() + long(at), slot->bytes.end());
    }
    EXPECT_TRUE(heard == samples);
    // 150 ms of audio before the last slot, and the pause.
    EXPECT_GE(last - first, (2 * kSlots - 1) * format.SlotFrames() + pauseMs * 48 - format.SlotFrames());
    EXPECT_EQ(0u, receive.NetworkStatus().LostPacketsCount_ULL);
    EXPECT_GE(send.NetworkStatus().UnderrunCount_ULL, pauseMs / 10 - 2);
}

INSTANTIATE_TEST_SUITE_P(OfMilliseconds, AudioPause, testing::Values(100, 10000),
                         [](const auto& instance) { return std::to_string(instance.param); });

TEST_F(AudioRoad, AnApplicationThatStopsTakingForASecondLosesSlotsAndTheRestIsRight)
{
    const AudioFormat format; // slots of 10 ms
    constexpr uint32_t kSlots = 180;
    const Endpoint port = FreeEndpoint();
    AudioStream receive(With, ZEFA_STREAM_TYPE_RX,
                        {.format = format, .paths = {port}, .slots = 8, .lockTimeoutMs = 1000});
    AudioStream send(With, ZEFA_STREAM_TYPE_TX, {.format = format, .paths = {port}, .slots = kSlots});
    receive.Start();
    send.Start();
    const Bytes samples = Samples(format, kSlots);
    SendAll(send, format, samples);

    uint32_t taken = 0;
    while (const std::optional<SlotBuffer> each = receive.Take()) // until nothing has come for a second
    {
        const uint32_t slot = (each->timestamps.at(0).Value_UL - kFirstTimestamp) / format.SlotFrames();
        ASSERT_LT(slot, kSlots);
        EXPECT_TRUE(each->bytes == Part(samples, slot * format.SlotBytes(), format.SlotBytes())) << "slot " << slot;
        EXPECT_TRUE(each->losses.empty());
        if (++taken == 5) std::this_thread::sleep_for(std::chrono::seconds(1));
    }

    ZEFA_STREAM_COMMON_STATUS status{};
    EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamCommonStatus(receive.Handle, &status));
    EXPECT_GE(status.SlotDropped_UL, 50u); // of the hundred of that second the ring took eight
    EXPECT_GT(taken, 13u);                 // it came back
    EXPECT_EQ(kSlots, taken + status.SlotDropped_UL);
    EXPECT_EQ(0u, receive.NetworkStatus().LostPacketsCount_ULL);
}

TEST_F(AudioRoad, AudioThatFitsIntoNoPacketIsRefused)
{
    ZEFA_HANDLE stream = nullptr;
    ZEFA_OK(ZEFA_CreateStream(With.Context, ZEFA_STREAM_TYPE_RX, ZEFA_ESSENCE_TYPE_ST2110_30, &stream));
    ZEFA_ESSENCE_CONFIG essence{};
    essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_30;
    ZEFA_ST2110_30_CONFIG& audio = essence.Essence_X.ST2110_30_X;
    audio = {k24, k48, 10, k1Ms, 1};
    EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_SetStreamEssenceConfig(stream, &essence));
    audio.ChannelNumber_UL = 11; // 1584 bytes
    EXPECT_EQ(ZEFA_ERR_BAD_ARGUMENT, ZEFA_SetStreamEssenceConfig(stream, &essence));
    EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_DestroyStream(stream));
}
