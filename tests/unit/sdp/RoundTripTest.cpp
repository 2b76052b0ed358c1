// A configuration that is written and read again: what comes back, and what does not.
#include "zefaline/sdp.h"

#include "Untouched.h"
#include "sdp/ISdpModule.h"
#include "zefaline/video_standards.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace quill::sdp_module;

namespace
{
struct Configuration
{
    ZEFA_STREAM_NETWORK_CONFIG Network;
    ZEFA_ESSENCE_CONFIG Essence;
    ZEFA_SDP_INFO Info;

    ZEFA_ST2110_20_CONFIG& Video() { return Essence.Essence_X.ST2110_20_X; }
    ZEFA_ST2110_30_CONFIG& Audio() { return Essence.Essence_X.ST2110_30_X; }
};

using ConfigurationPointer = std::unique_ptr<Configuration>; // of many kilobytes

ConfigurationPointer Make(ZEFA_ESSENCE_TYPE essence, uint32_t paths)
{
    auto made = std::make_unique<Configuration>();
    made->Network.PayloadType_UB = 127;
    made->Network.NbConnections_UL = paths;
    for (uint32_t i = 0; i < paths; ++i)
    {
        ZEFA_CONNECTION_CONFIG& path = made->Network.Connections_X[i];
        path.DestinationPort_US = static_cast<uint16_t>(65535 - i);
        path.DestinationIp_UL = 0xEFFFFE00 + i;
        path.SourceIp_UL = 0xC0A80001; // one for all: a description has one origin
    }
    made->Essence.EssenceType_E = essence;
    if (essence == ZEFA_ESSENCE_TYPE_ST2110_20) made->Video().UseDefaultTrOffset_B = 1;
    if (essence == ZEFA_ESSENCE_TYPE_ST2110_30) made->Audio().ChannelNumber_UL = 1;
    std::strcpy(made->Info.SessionName, "Camera 1");
    std::strcpy(made->Info.SessionDescription, "left wing");
    return made;
}

std::string WriteText(const Configuration& configuration)
{
    std::vector<char> buffer(1 << 20);
    auto size = static_cast<uint32_t>(buffer.size());
    EXPECT_EQ(ZEFA_WriteSDP(&configuration.Network, &configuration.Essence, &configuration.Info, buffer.data(), &size),
              ZEFA_NO_ERROR);
    return {buffer.data(), size};
}

ConfigurationPointer ReadText(const std::string& text)
{
    auto read = std::make_unique<Configuration>();
    std::memset(static_cast<void*>(read.get()), kUntouchedByte, sizeof *read);
    EXPECT_EQ(ZEFA_ReadSDP(text.c_str(), nullptr, &read->Network, &read->Essence, &read->Info), ZEFA_NO_ERROR);
    return read;
}

ConfigurationPointer ThereAndBack(const Configuration& configuration)
{
    return ReadText(WriteText(configuration));
}

// Every field that a description carries for this essence, and nothing else touched.
void ExpectSame(Configuration& written, Configuration& read)
{
    ASSERT_EQ(read.Network.NbConnections_UL, written.Network.NbConnections_UL);
    EXPECT_EQ(read.Network.PayloadType_UB, written.Network.PayloadType_UB);
    for (uint32_t i = 0; i < written.Network.NbConnections_UL; ++i)
    {
        const ZEFA_CONNECTION_CONFIG& in = written.Network.Connections_X[i];
        const ZEFA_CONNECTION_CONFIG& out = read.Network.Connections_X[i];
        EXPECT_EQ(out.DestinationPort_US, in.DestinationPort_US);
        EXPECT_EQ(out.DestinationIp_UL, in.DestinationIp_UL);
        EXPECT_EQ(out.SourceIp_UL, in.SourceIp_UL);
        EXPECT_EQ(out.MulticastMode_E, kUntouched);
        EXPECT_EQ(out.NbMulticastSources_UL, kUntouched);
    }
    EXPECT_EQ(read.Network.SSRC_UL, kUntouched);
    EXPECT_EQ(read.Network.SocketBufferSize_UL, kUntouched);

    ASSERT_EQ(read.Essence.EssenceType_E, written.Essence.EssenceType_E);
    if (written.Essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_20)
    {
        EXPECT_EQ(read.Video().VideoStandard_E, written.Video().VideoStandard_E);
        EXPECT_EQ(read.Video().NetworkBitDepth_E, written.Video().NetworkBitDepth_E);
        EXPECT_EQ(read.Video().NetworkBitSampling_E, written.Video().NetworkBitSampling_E);
        EXPECT_EQ(read.Video().PackingMode_E, written.Video().PackingMode_E);
        EXPECT_EQ(read.Video().Colorimetry_E, written.Video().Colorimetry_E);
        EXPECT_EQ(read.Video().Tcs_E, written.Video().Tcs_E);
        EXPECT_EQ(read.Video().UseDefaultTrOffset_B, written.Video().UseDefaultTrOffset_B);
        EXPECT_EQ(read.Video().TrOffset_UL,
                  written.Video().UseDefaultTrOffset_B ? kUntouched : written.Video().TrOffset_UL);
        EXPECT_EQ(read.Video().AppBitDepth_E, kUntouched);
        EXPECT_EQ(read.Video().AppBitPadding_E, kUntouched);
    }
    if (written.Essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_30)
    {
        EXPECT_EQ(read.Audio().Encoding_E, written.Audio().Encoding_E);
        EXPECT_EQ(read.Audio().SamplingRate_E, written.Audio().SamplingRate_E);
        EXPECT_EQ(read.Audio().PacketTime_E, written.Audio().PacketTime_E);
        EXPECT_EQ(read.Audio().ChannelNumber_UL, written.Audio().ChannelNumber_UL);
        EXPECT_EQ(read.Audio().NbPacketsPerBuffer_UL, kUntouched);
        EXPECT_STREQ(read.Info.ChannelOrder, written.Info.ChannelOrder);
    }

    EXPECT_STREQ(read.Info.SessionName, written.Info.SessionName);
    EXPECT_STREQ(read.Info.SessionDescription, written.Info.SessionDescription);
    EXPECT_EQ(read.Info.MediaClock_E, written.Info.MediaClock_E);
    EXPECT_EQ(read.Info.TsMode_E, written.Info.TsMode_E);
    EXPECT_EQ(read.Info.TsDelayPresent_B, written.Info.TsDelayPresent_B);
    EXPECT_EQ(read.Info.TsDelay_UL, written.Info.TsDelayPresent_B ? written.Info.TsDelay_UL : kUntouched);
    EXPECT_EQ(read.Info.RefClock_E, written.Info.RefClock_E);
    const bool ptp = written.Info.RefClock_E == ZEFA_SDP_REFCLOCK_PTP;
    const size_t idBytes = ptp ? 8 : written.Info.RefClock_E == ZEFA_SDP_REFCLOCK_LOCALMAC ? 6 : 0;
    for (size_t i = 0; i < 8; ++i)
        EXPECT_EQ(read.Info.RefClockId_UB[i], i < idBytes ? written.Info.RefClockId_UB[i] : kUntouchedByte) << i;
    EXPECT_EQ(read.Info.RefClockDomain_UB, ptp ? written.Info.RefClockDomain_UB : kUntouchedByte);
}

void ExpectComesBack(Configuration& configuration, const std::string& what)
{
    SCOPED_TRACE(what);
    ExpectSame(configuration, *ThereAndBack(configuration));
}

// What reading the text raises; the words are part of the behaviour.
std::string RaisedReading(const std::string& text)
{
    try
    {
        ReadText(text);
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
    return "nothing was thrown";
}
} // namespace

TEST(RoundTrip, EveryVideoStandardComesBackOnOnePathAndOnTwo)
{
    for (const uint32_t paths : {1u, 2u})
        for (ZEFA_VIDEO_STANDARD standard = 0; standard <= 44; ++standard)
        {
            const ConfigurationPointer video = Make(ZEFA_ESSENCE_TYPE_ST2110_20, paths);
            video->Video().VideoStandard_E = standard;
            ExpectComesBack(*video, "standard " + std::to_string(standard));
        }
}

TEST(RoundTrip, EverySamplingDepthColorimetryAndTransferComesBackOnOnePathAndOnTwo)
{
    for (uint32_t sampling = 0; sampling <= 5; ++sampling)
        for (uint32_t depth = 0; depth <= 2; ++depth)
            for (uint32_t colorimetry = 0; colorimetry <= 7; ++colorimetry)
                for (uint32_t transfer = 0; transfer <= 9; ++transfer)
                    for (const uint32_t paths : {1u, 2u})
                    {
                        const ConfigurationPointer video = Make(ZEFA_ESSENCE_TYPE_ST2110_20, paths);
                        video->Video().NetworkBitSampling_E = sampling;
                        video->Video().NetworkBitDepth_E = depth;
                        video->Video().Colorimetry_E = colorimetry;
                        video->Video().Tcs_E = transfer;
                        ExpectComesBack(*video, std::to_string(sampling) + " " + std::to_string(depth) + " " +
                                                    std::to_string(colorimetry) + " " + std::to_string(transfer));
                    }
}

TEST(RoundTrip, EveryAudioFormatComesBackWithAndWithoutAChannelOrder)
{
    for (const char* order : {"", "SMPTE2110.(51,ST,SGRP,U64)"})
        for (uint32_t encoding = 0; encoding <= 1; ++encoding)
            for (uint32_t rate = 0; rate <= 1; ++rate)
                for (uint32_t packetTime = 0; packetTime <= 1; ++packetTime)
                    for (const uint32_t channels : {1u, 2u, 8u, 16u, 64u, 2147483647u})
                        for (const uint32_t paths : {1u, 2u})
                        {
                            const ConfigurationPointer audio = Make(ZEFA_ESSENCE_TYPE_ST2110_30, paths);
                            audio->Audio() = {encoding, rate, channels, packetTime, 0};
                            std::strcpy(audio->Info.ChannelOrder, order);
                            audio->Info.TsMode_E = ZEFA_SDP_TS_MODE_NEW;
                            ExpectComesBack(*audio, order);
                        }
}

TEST(RoundTrip, EveryClockModeAndDelayComesBackForEveryEssence)
{
    for (const ZEFA_ESSENCE_TYPE essence : {0, 1, 2})
        for (uint32_t refClock = 0; refClock <= 2; ++refClock)
            for (uint32_t mediaClock = 0; mediaClock <= 1; ++mediaClock)
                for (uint32_t mode = 0; mode <= 3; ++mode)
                    for (const bool delay : {false, true})
                        for (const uint32_t paths : {1u, 2u})
                        {
                            const ConfigurationPointer configuration = Make(essence, paths);
                            ZEFA_SDP_INFO& info = configuration->Info;
                            info.RefClock_E = refClock;
                            const uint8_t id[8] = {0x00, 0xFF, 0x80, 0x7F, 0x0A, 0xA0, 0x01, 0x10};
                            std::copy_n(id, 8, info.RefClockId_UB);
                            info.RefClockDomain_UB = 255;
                            info.MediaClock_E = mediaClock;
                            info.TsMode_E = mode;
                            info.TsDelayPresent_B = delay;
                            info.TsDelay_UL = 2147483647;
                            ExpectComesBack(*configuration, std::to_string(essence) + " " + std::to_string(refClock) +
                                                                " " + std::to_string(mode));
                        }
}

TEST(RoundTrip, AnOffsetComesBackWhereItIsNotTheDefaultOnOnePathAndOnTwo)
{
    for (const uint32_t offset : {0u, 37u, 2147483647u})
        for (const uint32_t paths : {1u, 2u})
        {
            const ConfigurationPointer video = Make(ZEFA_ESSENCE_TYPE_ST2110_20, paths);
            video->Video().UseDefaultTrOffset_B = 0;
            video->Video().TrOffset_UL = offset;
            ExpectComesBack(*video, std::to_string(offset));
        }
}

TEST(RoundTrip, AllPathsOfTheArrayComeBack)
{
    ExpectComesBack(*Make(ZEFA_ESSENCE_TYPE_ST2110_40, 128), "128 paths");
}

TEST(RoundTrip, TheLongestNamesThatEndInANulComeBack)
{
    const ConfigurationPointer audio = Make(ZEFA_ESSENCE_TYPE_ST2110_30, 1);
    std::strcpy(audio->Info.SessionName, std::string(49, 's').c_str());
    std::strcpy(audio->Info.SessionDescription, std::string(49, 'd').c_str());
    std::strcpy(audio->Info.ChannelOrder, std::string(49, 'o').c_str());
    ExpectComesBack(*audio, "longest");
    std::strcpy(audio->Info.SessionName, "");
    std::strcpy(audio->Info.SessionDescription, "");
    ExpectComesBack(*audio, "empty");
}

TEST(NoRoundTrip, ANameWithoutANulIsCutByItsReader)
{
    const ConfigurationPointer anc = Make(ZEFA_ESSENCE_TYPE_ST2110_40, 1);
    std::memset(anc->Info.SessionName, 's', sizeof anc->Info.SessionName);
    EXPECT_EQ(ThereAndBack(*anc)->Info.SessionName, std::string(49, 's'));
}

TEST(NoRoundTrip, TheSourceOfALaterPathIsThatOfTheFirst)
{
    const ConfigurationPointer anc = Make(ZEFA_ESSENCE_TYPE_ST2110_40, 2);
    anc->Network.Connections_X[1].SourceIp_UL = 0xC0A80002;
    EXPECT_EQ(ThereAndBack(*anc)->Network.Connections_X[1].SourceIp_UL, 0xC0A80001);
}

TEST(NoRoundTrip, TheStandardOfAncillaryDataIsNotRead)
{
    const ConfigurationPointer anc = Make(ZEFA_ESSENCE_TYPE_ST2110_40, 1);
    anc->Essence.Essence_X.ST2110_40_X.VideoStandard_E = 7;
    EXPECT_EQ(ThereAndBack(*anc)->Essence.Essence_X.ST2110_40_X.VideoStandard_E, kUntouched);
}

TEST(NoRoundTrip, ATransferOutsideTheConstantsComesBackAsSdr)
{
    const ConfigurationPointer video = Make(ZEFA_ESSENCE_TYPE_ST2110_20, 1);
    video->Video().Tcs_E = 4711;
    EXPECT_EQ(ThereAndBack(*video)->Video().Tcs_E, ZEFA_SDP_TCS_SDR);
}

TEST(NoRoundTrip, ThePayloadTypeLosesItsHighBits)
{
    const ConfigurationPointer anc = Make(ZEFA_ESSENCE_TYPE_ST2110_40, 1);
    anc->Network.PayloadType_UB = 0xFFFFFF60;
    EXPECT_EQ(ThereAndBack(*anc)->Network.PayloadType_UB, 0x60u);
}

TEST(NoRoundTrip, NumbersOfTheFormatAboveThirtyOneBitsAreWrittenAndRaiseWhenRead)
{
    const ConfigurationPointer video = Make(ZEFA_ESSENCE_TYPE_ST2110_20, 1);
    video->Video().UseDefaultTrOffset_B = 0;
    video->Video().TrOffset_UL = 2147483648;
    EXPECT_EQ(RaisedReading(WriteText(*video)), "stoi argument out of range");

    const ConfigurationPointer anc = Make(ZEFA_ESSENCE_TYPE_ST2110_40, 1);
    anc->Info.TsDelayPresent_B = 1;
    anc->Info.TsDelay_UL = 4294967295;
    EXPECT_EQ(RaisedReading(WriteText(*anc)), "stoi argument out of range");

    const ConfigurationPointer audio = Make(ZEFA_ESSENCE_TYPE_ST2110_30, 1);
    audio->Audio().ChannelNumber_UL = 2147483648;
    EXPECT_EQ(RaisedReading(WriteText(*audio)), "stoi argument out of range");
}

TEST(NoRoundTrip, SeparatorsInAChannelOrderEndIt)
{
    const ConfigurationPointer audio = Make(ZEFA_ESSENCE_TYPE_ST2110_30, 1);
    std::strcpy(audio->Info.ChannelOrder, "SMPTE2110.(ST);x");
    EXPECT_STREQ(ThereAndBack(*audio)->Info.ChannelOrder, "SMPTE2110.(ST)");
    std::strcpy(audio->Info.ChannelOrder, "a=b");
    EXPECT_STREQ(ThereAndBack(*audio)->Info.ChannelOrder, "") << "a parameter has one equals sign";
}

TEST(NoRoundTrip, ALineEndInANameMakesALineOfItsOwn)
{
    const ConfigurationPointer anc = Make(ZEFA_ESSENCE_TYPE_ST2110_40, 1);
    std::strcpy(anc->Info.SessionName, "one\r\ni=two");
    std::strcpy(anc->Info.SessionDescription, "");
    const ConfigurationPointer read = ThereAndBack(*anc);
    EXPECT_STREQ(read->Info.SessionName, "one");
    EXPECT_STREQ(read->Info.SessionDescription, "") << "the last line of a kind wins";
}

TEST(NoRoundTrip, WithoutAPathTheTextHasNoMediaToRead)
{
    const std::string text = WriteText(*Make(ZEFA_ESSENCE_TYPE_ST2110_40, 0));
    const auto read = std::make_unique<Configuration>();
    EXPECT_EQ(ZEFA_ReadSDP(text.c_str(), nullptr, &read->Network, &read->Essence, &read->Info),
              ZEFA_ERR_OPERATION_FAILED);
}

TEST(NoRoundTrip, ADescriptionWithoutAMediaClockIsReadAndCannotBeWritten)
{
    const ConfigurationPointer read = ReadText("o=- 1 2 IN IP4 10.0.0.1\nm=video 5004 RTP/AVP 100\nc=IN IP4 239.0.0.1\n"
                                               "a=fmtp:100 exactframerate=25; SSN=ST2110-40:2018;\n");
    ASSERT_EQ(read->Info.MediaClock_E, ZEFA_SDP_MEDIA_CLOCK_NOT_SET);
    read->Essence.Essence_X.ST2110_40_X.VideoStandard_E = 6;
    read->Info.RefClock_E = ZEFA_SDP_REFCLOCK_PTP_TRACEABLE;

    char buffer[2000];
    uint32_t size = sizeof buffer;
    EXPECT_EQ(ZEFA_WriteSDP(&read->Network, &read->Essence, &read->Info, buffer, &size), ZEFA_ERR_OPERATION_FAILED);
}

namespace
{
// Writes one record and reads it again, below the exported functions, whose vocabulary is the narrower one.
template <class Record>
Record ThroughTheModule(const Record& record, const SdpSession& session = {}, SdpSession* readSession = nullptr)
{
    const auto ignore = [](const std::string&) {};
    const auto writer = CreateSdpModule(ignore, ignore);
    SdpMediaList medias;
    medias.push_back(std::make_unique<Record>(record));
    writer->SetMedias(medias);
    writer->SetSession(session);
    std::string text;
    EXPECT_EQ(writer->Write(&text), kSdpSuccess);

    const auto reader = CreateSdpModule(ignore, ignore);
    EXPECT_EQ(reader->Read(text), kSdpSuccess) << text;
    if (readSession) *readSession = reader->GetSession();
    return dynamic_cast<const Record&>(*reader->GetMedias().at(0));
}

SdpSession OwnSession()
{
    SdpSession session;
    session.Origin.Address.Version = kIpVersion4;
    return session;
}

template <class Record>
Record Basic(SDP_MEDIA_TYPE type)
{
    Record record;
    record.Type = type;
    record.Destination.Version = kIpVersion4;
    record.Destination.Address.V4 = 0xEF000001;
    record.MediaClock = SDP_MEDIA_CLOCK::Direct;
    return record;
}

SdpMediaVideo BasicVideo()
{
    auto video = Basic<SdpMediaVideo>(SDP_MEDIA_TYPE::Video);
    video.Sampling = SDP_SAMPLING::Key;
    video.Depth = SDP_DEPTH::Bits16;
    video.Width = 32767;
    video.Height = 1;
    video.Rate = 120;
    video.Colorimetry = SDP_COLORIMETRY::XYZ;
    video.PackingMode = SDP_PACKING_MODE::Block;
    video.Tcs = SDP_TCS::Density;
    return video;
}
} // namespace

TEST(RoundTrip, WhatHasNoExportedValueComesBackInTheModule)
{
    for (uint32_t number = 0; number < 12; ++number)
        for (const bool flag : {false, true})
        {
            SdpMediaVideo video = BasicVideo();
            video.Sampling = static_cast<SDP_SAMPLING>(number);
            video.Interlaced = flag;
            video.Segmented = !flag;
            video.Is1001 = flag;
            video.PackingMode = flag ? SDP_PACKING_MODE::General : SDP_PACKING_MODE::Block;
            video.SenderTypePresent = number < 3;
            if (number < 3) video.SenderType = static_cast<SDP_SENDER_TYPE>(number);
            video.Mid = "path-" + std::to_string(number);

            const SdpMediaVideo read = ThroughTheModule(video, OwnSession());

            EXPECT_EQ(read.Sampling, video.Sampling);
            EXPECT_EQ(read.Depth, SDP_DEPTH::Bits16);
            EXPECT_EQ(read.Width, 32767u);
            EXPECT_EQ(read.Height, 1u);
            EXPECT_EQ(read.Rate, 120u);
            EXPECT_EQ(read.Is1001, flag);
            EXPECT_EQ(read.Interlaced, flag);
            EXPECT_EQ(read.Segmented, !flag);
            EXPECT_EQ(read.PackingMode, video.PackingMode);
            EXPECT_EQ(read.Colorimetry, SDP_COLORIMETRY::XYZ);
            EXPECT_EQ(read.Tcs, SDP_TCS::Density);
            EXPECT_EQ(read.SenderTypePresent, video.SenderTypePresent);
            EXPECT_EQ(read.SenderType, video.SenderType);
            EXPECT_EQ(read.Mid, video.Mid);
            EXPECT_EQ(read.RefClock.Type, SDP_REFCLOCK_TYPE::NotSet) << "an empty attribute";
        }
}

TEST(RoundTrip, AddressesOfVersionSixComeBackInTheModule)
{
    SdpSession session;
    session.Origin.Address.Version = kIpVersion6;
    for (uint8_t i = 0; i < 16; ++i)
        session.Origin.Address.Address.V6[i] = i;
    auto anc = Basic<SdpMediaAnc>(SDP_MEDIA_TYPE::Anc);
    anc.Destination.Version = kIpVersion6;
    for (uint8_t i = 0; i < 16; ++i)
        anc.Destination.Address.V6[i] = static_cast<uint8_t>(255 - i);

    SdpSession readSession;
    const SdpMediaAnc read = ThroughTheModule(anc, session, &readSession);

    EXPECT_EQ(readSession.Origin.Address.Version, kIpVersion6);
    EXPECT_EQ(std::memcmp(readSession.Origin.Address.Address.V6, session.Origin.Address.Address.V6, 16), 0);
    EXPECT_EQ(read.Destination.Version, kIpVersion6);
    EXPECT_EQ(std::memcmp(read.Destination.Address.V6, anc.Destination.Address.V6, 16), 0);
}

TEST(RoundTrip, TheSessionComesBackInTheModuleAndItsNumbersLoseTheirHighHalves)
{
    SdpSession session = OwnSession();
    session.Version = 4294967295;
    session.Name = "n";
    session.Description = "d";
    session.Start = 4294967295;
    session.Stop = 1;
    session.Origin.Username = "me";
    session.Origin.SessionId = 0x1234567890ABCDEF;
    session.Origin.SessionVersion = 0xFFFFFFFF00000007;

    SdpSession read;
    ThroughTheModule(Basic<SdpMediaAnc>(SDP_MEDIA_TYPE::Anc), session, &read);

    EXPECT_EQ(read.Version, 4294967295u);
    EXPECT_EQ(read.Name, "n");
    EXPECT_EQ(read.Description, "d");
    EXPECT_EQ(read.Start, 4294967295u);
    EXPECT_EQ(read.Stop, 1u);
    EXPECT_EQ(read.Origin.Username, "me");
    EXPECT_EQ(read.Origin.SessionId, 0x90ABCDEFu);
    EXPECT_EQ(read.Origin.SessionVersion, 7u);
}

TEST(RoundTrip, AudioRatesAndPacketTimesComeBackButForTheOneThatPrintsShorter)
{
    const std::pair<SDP_PACKET_TIME, SDP_PACKET_TIME> times[] = {
        {SDP_PACKET_TIME::Us125, SDP_PACKET_TIME::Us125},   {SDP_PACKET_TIME::Us250, SDP_PACKET_TIME::NotSet},
        {SDP_PACKET_TIME::Us333, SDP_PACKET_TIME::Us333},   {SDP_PACKET_TIME::Us1000, SDP_PACKET_TIME::Us1000},
        {SDP_PACKET_TIME::Us4000, SDP_PACKET_TIME::Us4000},
    };
    for (const auto& [written, expected] : times)
        for (const SDP_AUDIO_RATE rate : {SDP_AUDIO_RATE::Hz44100, SDP_AUDIO_RATE::Hz48000, SDP_AUDIO_RATE::Hz96000})
        {
            auto audio = Basic<SdpMediaAudio>(SDP_MEDIA_TYPE::Audio);
            audio.Codec = SDP_AUDIO_CODEC::L16;
            audio.SamplingRate = rate;
            audio.PacketTime = written;

            const SdpMediaAudio read = ThroughTheModule(audio, OwnSession());

            EXPECT_EQ(read.Codec, SDP_AUDIO_CODEC::L16);
            EXPECT_EQ(read.SamplingRate, rate);
            EXPECT_EQ(read.PacketTime, expected);
            EXPECT_EQ(read.ChannelCount, 0u);
        }
}

TEST(NoRoundTrip, ADepthOfSixteenFloatingBitsComesBackAsAWholeNumber)
{
    SdpMediaVideo video = BasicVideo();
    video.Depth = SDP_DEPTH::Bits16Float;
    EXPECT_EQ(ThroughTheModule(video, OwnSession()).Depth, SDP_DEPTH::Bits16);
}
