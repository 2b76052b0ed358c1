// ZEFA_ReadSDP: what it fills, what it leaves, what it logs.
#include "zefaline/sdp.h"

#include "ReaderFixture.h"
#include "Untouched.h"
#include "logger/Priority.h"
#include "support/LogCapture.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using Quillmont::Logger::kPriorityDebug;
using Quillmont::Logger::kPriorityError;
using Quillmont::Logger::kPriorityWarning;

namespace
{
using LogLines = std::vector<LogCapture::Line>;

// Structures that hold a pattern, so that a field that was left alone shows it.
struct ReadSdp : testing::Test
{
    ReadSdp()
    {
        std::memset(Network.get(), kUntouchedByte, sizeof *Network);
        std::memset(&Essence, kUntouchedByte, sizeof Essence);
        std::memset(&Info, kUntouchedByte, sizeof Info);
    }

    ZEFA_ERRORCODE Read(const std::string& text)
    {
        return ZEFA_ReadSDP(text.c_str(), nullptr, Network.get(), &Essence, &Info);
    }

    const ZEFA_ST2110_20_CONFIG& Video() const { return Essence.Essence_X.ST2110_20_X; }
    const ZEFA_ST2110_30_CONFIG& Audio() const { return Essence.Essence_X.ST2110_30_X; }

    LogCapture Log;
    std::unique_ptr<ZEFA_STREAM_NETWORK_CONFIG> Network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG Essence;
    ZEFA_SDP_INFO Info;
};

const std::string kHead = "v=0\no=- 1 2 IN IP4 10.0.0.5\ns=Camera\ni=Left wing\nt=0 0\n";

std::string ConfigWith(const std::string& from, const std::string& to)
{
    std::string config = kVideoConfig;
    return config.replace(config.find(from), from.size(), to);
}
} // namespace

TEST_F(ReadSdp, ANullStructureIsAnInvalidPointerAndTheTextIsNotLookedAt)
{
    const LogLines expected{{kPriorityError, "Error in ZEFA_ReadSDP : one of the pointer is null."}};
    EXPECT_EQ(ZEFA_ReadSDP(nullptr, nullptr, nullptr, &Essence, &Info), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Log.All(), expected);
    Log.Clear();
    EXPECT_EQ(ZEFA_ReadSDP(nullptr, nullptr, Network.get(), nullptr, &Info), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Log.All(), expected);
    Log.Clear();
    EXPECT_EQ(ZEFA_ReadSDP(nullptr, nullptr, Network.get(), &Essence, nullptr), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Log.All(), expected);
}

TEST_F(ReadSdp, AVideoFillsItsFieldsAndNoOthers)
{
    EXPECT_EQ(Read(kHead + VideoMedia(kVideoConfig + "; TROFF=37", "a=mediaclk:direct=0\n")), ZEFA_NO_ERROR);

    EXPECT_EQ(Network->PayloadType_UB, 96u);
    EXPECT_EQ(Network->NbConnections_UL, 1u);
    EXPECT_EQ(Network->Connections_X[0].DestinationPort_US, 20000);
    EXPECT_EQ(Network->Connections_X[0].DestinationIp_UL, 0xEF000001u);
    EXPECT_EQ(Network->Connections_X[0].SourceIp_UL, 0x0A000005u);
    EXPECT_EQ(Network->Connections_X[1].SourceIp_UL, kUntouched);
    EXPECT_EQ(Network->Connections_X[0].MulticastMode_E, kUntouched);
    EXPECT_EQ(Network->Connections_X[0].NbMulticastSources_UL, kUntouched);
    EXPECT_EQ(Network->Connections_X[0].NetworkInterfaceId_ULL, 0x5A5A5A5A5A5A5A5Au);
    EXPECT_EQ(Network->SocketBufferSize_UL, kUntouched);
    EXPECT_EQ(Network->SSRC_UL, kUntouched);

    EXPECT_EQ(Essence.EssenceType_E, ZEFA_ESSENCE_TYPE_ST2110_20);
    EXPECT_EQ(Video().VideoStandard_E, ZEFA_VIDEO_STANDARD_1920X1080_P_50);
    EXPECT_EQ(Video().NetworkBitDepth_E, ZEFA_SDP_VIDEO_DEPTH_10);
    EXPECT_EQ(Video().NetworkBitSampling_E, ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422);
    EXPECT_EQ(Video().PackingMode_E, ZEFA_SDP_PACKING_GENERAL);
    EXPECT_EQ(Video().Colorimetry_E, ZEFA_SDP_COLORIMETRY_BT709);
    EXPECT_EQ(Video().Tcs_E, ZEFA_SDP_TCS_SDR);
    EXPECT_EQ(Video().UseDefaultTrOffset_B, 0u);
    EXPECT_EQ(Video().TrOffset_UL, 37u);
    EXPECT_EQ(Video().AppBitDepth_E, kUntouched);
    EXPECT_EQ(Video().AppBitSampling_E, kUntouched);
    EXPECT_EQ(Video().AppBitPadding_E, kUntouched);
    EXPECT_EQ(Video().AppEndianness_E, kUntouched);

    EXPECT_STREQ(Info.SessionName, "Camera");
    EXPECT_STREQ(Info.SessionDescription, "Left wing");
    EXPECT_EQ(Info.MediaClock_E, ZEFA_SDP_MEDIA_CLOCK_DIRECT);
    EXPECT_EQ(Info.TsMode_E, ZEFA_SDP_TS_MODE_NOT_SET);
    EXPECT_EQ(Info.TsDelayPresent_B, 0);
    EXPECT_EQ(Info.TsDelay_UL, kUntouched);
    EXPECT_EQ(Info.RefClock_E, kUntouched) << "no reference clock has no exported value";
    EXPECT_EQ(Info.RefClockDomain_UB, kUntouchedByte);
    EXPECT_EQ(Info.ChannelOrder[0], kUntouchedByte);
    EXPECT_EQ(Log.All(), LogLines{}) << "no entry, no exit";
}

TEST_F(ReadSdp, WithoutAnOffsetTheDefaultIsUsedAndTheOffsetLeftAlone)
{
    EXPECT_EQ(Read(kHead + VideoMedia()), ZEFA_NO_ERROR);
    EXPECT_EQ(Video().UseDefaultTrOffset_B, 1u);
    EXPECT_EQ(Video().TrOffset_UL, kUntouched);
}

TEST_F(ReadSdp, EveryVideoStandardIsFoundByItsRaster)
{
    struct
    {
        const char* size;
        const char* rate;
        const char* flag;
        uint32_t standard;
    } const cases[] = {
        {"width=720; height=480", "60000/1001", "; interlace", 0},
        {"width=720; height=576", "50", "; interlace", 2},
        {"width=1280; height=720", "60000/1001", "", 4},
        {"width=1920; height=1080", "50", "; interlace", 6},
        {"width=1920; height=1080", "60000/1001", "; interlace", 7},
        {"width=1920; height=1080", "24000/1001", "", 9},
        {"width=1920; height=1080", "24", "; segmented", 10},
        {"width=3840; height=2160", "60000/1001", "", 33},
        {"width=4096; height=2160", "60", "", 44},
    };
    for (const auto& expected : cases)
    {
        const std::string config =
            std::string("sampling=YCbCr-4:2:2; depth=10; TCS=SDR; colorimetry=BT709; PM=2110GPM; "
                        "SSN=ST2110-20:2017; ") +
            expected.size + "; exactframerate=" + expected.rate + expected.flag;
        EXPECT_EQ(Read(kHead + VideoMedia(config)), ZEFA_NO_ERROR);
        EXPECT_EQ(static_cast<uint32_t>(Video().VideoStandard_E), expected.standard) << config;
    }
}

TEST_F(ReadSdp, ARasterWithoutAStandardLeavesTheStandardAndTheOffset)
{
    EXPECT_EQ(Read(kHead + VideoMedia(ConfigWith("width=1920", "width=1000") + "; TROFF=9")), ZEFA_NO_ERROR);
    EXPECT_EQ(static_cast<uint32_t>(Video().VideoStandard_E), kUntouched);
    EXPECT_EQ(Video().UseDefaultTrOffset_B, kUntouched);
    EXPECT_EQ(Video().TrOffset_UL, kUntouched);
    EXPECT_EQ(Video().Tcs_E, ZEFA_SDP_TCS_SDR);
    EXPECT_EQ(Log.All(), LogLines{});
}

TEST_F(ReadSdp, AVideoValueWithoutAnExportedOneEndsTheCopyingThere)
{
    struct
    {
        const char* from;
        const char* to;
        int copied; // fields of depth, sampling, packing, colorimetry, transfer that are filled
    } const cases[] = {
        {"depth=10", "depth=16", 0},
        {"sampling=YCbCr-4:2:2", "sampling=YCbCr-4:2:0", 1},
        {"sampling=YCbCr-4:2:2", "sampling=CLYCbCr-4:4:4", 1},
        {"sampling=YCbCr-4:2:2", "sampling=KEY", 1},
        {"PM=2110GPM", "PM=2110BPM", 2},
    };
    for (const auto& expected : cases)
    {
        std::memset(&Essence, kUntouchedByte, sizeof Essence);
        EXPECT_EQ(Read(kHead + VideoMedia(ConfigWith(expected.from, expected.to))), ZEFA_NO_ERROR) << expected.to;
        const std::array<uint32_t, 5> fields{Video().NetworkBitDepth_E, Video().NetworkBitSampling_E,
                                             Video().PackingMode_E, Video().Colorimetry_E, Video().Tcs_E};
        int copied = 0;
        while (copied < 5 && fields[static_cast<size_t>(copied)] != kUntouched)
            ++copied;
        EXPECT_EQ(copied, expected.copied) << expected.to;
        EXPECT_EQ(static_cast<uint32_t>(Video().VideoStandard_E), kUntouched) << expected.to;
        EXPECT_STREQ(Info.SessionName, "Camera") << "the rest is filled all the same";
    }
    EXPECT_EQ(Log.All(), LogLines{});
}

TEST_F(ReadSdp, AnAudioFillsItsFields)
{
    const std::string order = "SMPTE2110.(51,ST,this-name-is-longer-than-the-field-has-room)";
    EXPECT_EQ(Read(kHead + AudioMedia("97 L24/48000/8", "a=ptime:0.125\na=fmtp:97 channel-order=" + order + "\n")),
              ZEFA_NO_ERROR);
    EXPECT_EQ(Essence.EssenceType_E, ZEFA_ESSENCE_TYPE_ST2110_30);
    EXPECT_EQ(Audio().Encoding_E, ZEFA_SDP_AUDIO_CODEC_L24);
    EXPECT_EQ(Audio().PacketTime_E, ZEFA_SDP_PACKET_TIME_125US);
    EXPECT_EQ(Audio().SamplingRate_E, ZEFA_SDP_AUDIO_RATE_48000);
    EXPECT_EQ(Audio().ChannelNumber_UL, 8u);
    EXPECT_EQ(Audio().NbPacketsPerBuffer_UL, kUntouched);
    EXPECT_EQ(std::string(Info.ChannelOrder), order.substr(0, 49));
}

TEST_F(ReadSdp, AnAudioValueWithoutAnExportedOneEndsTheCopyingThere)
{
    struct
    {
        const char* map;
        const char* packetTime;
        int copied; // fields of encoding, packet time, rate, channels that are filled
    } const cases[] = {
        {"97 AM824/48000/2", "1", 0},   {"97 L24/48000/2", "4", 1}, {"97 L24/48000/2", "0.250", 1},
        {"97 L24/48000/2", "0.333", 1}, {"97 L24/44100/2", "1", 2}, {"97 L16/96000/2", "1", 4},
    };
    for (const auto& expected : cases)
    {
        std::memset(&Essence, kUntouchedByte, sizeof Essence);
        std::memset(&Info, kUntouchedByte, sizeof Info);
        EXPECT_EQ(Read(kHead + AudioMedia(expected.map, "a=ptime:" + std::string(expected.packetTime) + "\n")),
                  ZEFA_NO_ERROR);
        const std::array<uint32_t, 4> fields{Audio().Encoding_E, Audio().PacketTime_E, Audio().SamplingRate_E,
                                             Audio().ChannelNumber_UL};
        int copied = 0;
        while (copied < 4 && fields[static_cast<size_t>(copied)] != kUntouched)
            ++copied;
        EXPECT_EQ(copied, expected.copied) << expected.map << " " << expected.packetTime;
        EXPECT_EQ(Info.ChannelOrder[0], copied == 4 ? '\0' : kUntouchedByte);
    }
}

TEST_F(ReadSdp, AncillaryDataSetsTheEssenceTypeAlone)
{
    EXPECT_EQ(Read(kHead + VideoMedia("exactframerate=30000/1001; SSN=ST2110-40:2018")), ZEFA_NO_ERROR);
    EXPECT_EQ(Essence.EssenceType_E, ZEFA_ESSENCE_TYPE_ST2110_40);
    EXPECT_EQ(Essence.Essence_X.ST2110_40_X.VideoStandard_E, kUntouched);
}

TEST_F(ReadSdp, SeveralMediaArePathsOfTheFirstOnesStream)
{
    const std::string second =
        "m=video 20002 RTP/AVP 97\nc=IN IP4 239.0.0.7\na=fmtp:97 " + ConfigWith("width=1920", "width=1280") + "\n";
    EXPECT_EQ(Read(kHead + VideoMedia() + second), ZEFA_NO_ERROR);
    EXPECT_EQ(Network->NbConnections_UL, 2u);
    EXPECT_EQ(Network->PayloadType_UB, 96u);
    EXPECT_EQ(Network->Connections_X[0].DestinationPort_US, 20000);
    EXPECT_EQ(Network->Connections_X[1].DestinationPort_US, 20002);
    EXPECT_EQ(Network->Connections_X[0].DestinationIp_UL, 0xEF000001u);
    EXPECT_EQ(Network->Connections_X[1].DestinationIp_UL, 0xEF000007u);
    EXPECT_EQ(Network->Connections_X[0].SourceIp_UL, 0x0A000005u);
    EXPECT_EQ(Network->Connections_X[1].SourceIp_UL, 0x0A000005u);
    EXPECT_EQ(Video().VideoStandard_E, ZEFA_VIDEO_STANDARD_1920X1080_P_50);
}

TEST_F(ReadSdp, MoreMediaThanPathsStopAtTheArraysEnd)
{
    std::string text = kHead;
    for (int i = 0; i < 130; ++i)
        text += VideoMedia();
    EXPECT_EQ(Read(text), ZEFA_NO_ERROR);
    EXPECT_EQ(Network->NbConnections_UL, 128u);
    EXPECT_EQ(Network->Connections_X[127].DestinationPort_US, 20000);
}

TEST_F(ReadSdp, AddressesOfVersion6AreWarningsAndTheirFieldsStay)
{
    const std::string media = "m=video 20000 RTP/AVP 96\nc=IN IP6 ff3e::1\na=fmtp:96 " + kVideoConfig + "\n";
    EXPECT_EQ(Read("o=- 1 2 IN IP6 fd00::5\n" + media + VideoMedia()), ZEFA_NO_ERROR);
    EXPECT_EQ(Log.All(),
              (LogLines{{kPriorityWarning, "The destination address for the media n0is not an IPv4 address."},
                        {kPriorityWarning, "The origin address for the session is not an IPv4 address."},
                        {kPriorityWarning, "The origin address for the session is not an IPv4 address."}}));
    EXPECT_EQ(Network->Connections_X[0].DestinationIp_UL, kUntouched);
    EXPECT_EQ(Network->Connections_X[0].DestinationPort_US, 20000);
    EXPECT_EQ(Network->Connections_X[1].DestinationIp_UL, 0xEF000001u);
    EXPECT_EQ(Network->Connections_X[0].SourceIp_UL, kUntouched);
}

TEST_F(ReadSdp, WithoutAnOriginTheSourceStaysAndIsToldSo)
{
    EXPECT_EQ(Read(VideoMedia()), ZEFA_NO_ERROR);
    EXPECT_EQ(Log.All(), (LogLines{{kPriorityWarning, "The origin address for the session is not an IPv4 address."}}));
    EXPECT_EQ(Network->Connections_X[0].SourceIp_UL, kUntouched);
    EXPECT_STREQ(Info.SessionName, "");
    EXPECT_STREQ(Info.SessionDescription, "");
}

TEST_F(ReadSdp, AReadersFailureIsLoggedBehindItsOwnWordsAndFillsNothing)
{
    EXPECT_EQ(Read(kHead + "m=video 1 RTP/AVP 96\na=fmtp:96 " + kVideoConfig + "\n"), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(Log.All(), (LogLines{{kPriorityError, "No connection is associated with the media with index 0"},
                                   {kPriorityError, "Error in ZEFA_ReadSDP when parsing the SDP : 3"}}));
    EXPECT_EQ(Network->NbConnections_UL, kUntouched);
    EXPECT_EQ(static_cast<uint32_t>(Essence.EssenceType_E), kUntouched);
    EXPECT_EQ(Info.SessionName[0], kUntouchedByte);
}

TEST_F(ReadSdp, TheReadersCodeStandsInTheMessage)
{
    EXPECT_EQ(Read(kHead + VideoMedia(kVideoConfig, "a=mediaclk:direct=1\n")), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(Log.All(), (LogLines{{kPriorityError, "Error in ZEFA_ReadSDP when parsing the SDP : 2"}}));
}

TEST_F(ReadSdp, WithoutAMediaItFails)
{
    EXPECT_EQ(Read(kHead), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(Log.All(), (LogLines{{kPriorityWarning, "No media was found"},
                                   {kPriorityError, "Error in ZEFA_ReadSDP : no media is present in the SDP."}}));
}

TEST_F(ReadSdp, WithUnsupportedMediaAloneItFailsBehindTheirWarning)
{
    EXPECT_EQ(Read(kHead + "m=application 1 UDP 5\n"), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(Log.All(), (LogLines{{kPriorityWarning, "The media with index 0 as an unsupported type : application"},
                                   {kPriorityError, "Error in ZEFA_ReadSDP : no media is present in the SDP."}}));
}

TEST_F(ReadSdp, LongNamesAreCutAndTerminated)
{
    const std::string name(60, 'n');
    EXPECT_EQ(Read("s=" + name + "\ni=" + name.substr(0, 49) + "\n" + VideoMedia()), ZEFA_NO_ERROR);
    EXPECT_EQ(std::string(Info.SessionName), name.substr(0, 49));
    EXPECT_EQ(std::string(Info.SessionDescription), name.substr(0, 49));
}

TEST_F(ReadSdp, AGrandmasterGivesIdentityAndDomain)
{
    EXPECT_EQ(Read(kHead + VideoMedia(kVideoConfig, "a=ts-refclk:ptp=IEEE1588-2008:39-A7-94-FF-FE-07-CB-D0:37\n")),
              ZEFA_NO_ERROR);
    const uint8_t expected[8] = {0xd0, 0xcb, 0x07, 0xfe, 0xff, 0x94, 0xa7, 0x39};
    EXPECT_EQ(Info.MediaClock_E, ZEFA_SDP_MEDIA_CLOCK_NOT_SET);
    EXPECT_EQ(Info.RefClock_E, ZEFA_SDP_REFCLOCK_PTP);
    EXPECT_EQ(std::memcmp(Info.RefClockId_UB, expected, 8), 0);
    EXPECT_EQ(Info.RefClockDomain_UB, 37);
}

TEST_F(ReadSdp, ATraceableClockGivesItsKindAlone)
{
    EXPECT_EQ(Read(kHead + VideoMedia(kVideoConfig, "a=ts-refclk:ptp=IEEE1588-2008:traceable\n")), ZEFA_NO_ERROR);
    EXPECT_EQ(Info.RefClock_E, ZEFA_SDP_REFCLOCK_PTP_TRACEABLE);
    EXPECT_EQ(Info.RefClockId_UB[0], kUntouchedByte);
    EXPECT_EQ(Info.RefClockDomain_UB, kUntouchedByte);
}

TEST_F(ReadSdp, ALocalMacGivesSixBytes)
{
    EXPECT_EQ(Read(kHead + VideoMedia(kVideoConfig, "a=ts-refclk:localmac=40-A3-6B-A0-2B-D2\n")), ZEFA_NO_ERROR);
    const uint8_t expected[8] = {0xd2, 0x2b, 0xa0, 0x6b, 0xa3, 0x40, kUntouchedByte, kUntouchedByte};
    EXPECT_EQ(Info.RefClock_E, ZEFA_SDP_REFCLOCK_LOCALMAC);
    EXPECT_EQ(std::memcmp(Info.RefClockId_UB, expected, 8), 0);
    EXPECT_EQ(Info.RefClockDomain_UB, kUntouchedByte);
}

TEST_F(ReadSdp, TimestampModeAndDelayAreCopied)
{
    EXPECT_EQ(Read(kHead + VideoMedia(kVideoConfig + "; TSMODE=NEW; TSDELAY=1200")), ZEFA_NO_ERROR);
    EXPECT_EQ(Info.TsMode_E, ZEFA_SDP_TS_MODE_NEW);
    EXPECT_EQ(Info.TsDelayPresent_B, 1);
    EXPECT_EQ(Info.TsDelay_UL, 1200u);
}

TEST_F(ReadSdp, WhatTheReaderThrowsLeavesTheFunction)
{
    EXPECT_THROW(Read(kHead + "m=video\n"), nlohmann::json::out_of_range);
    EXPECT_THROW(Read(kHead + "m=video 1 RTP/AVP 96\n"), nlohmann::json::out_of_range);
    EXPECT_THROW(Read(kHead + VideoMedia(kVideoConfig, "a=fmtp:96 x=\xff\n")), nlohmann::json::type_error);
    EXPECT_THROW(Read(kHead + VideoMedia("width=x; SSN=ST2110-20:2017")), std::invalid_argument);
    EXPECT_THROW(Read(kHead + "m=video 1 RTP/AVP 96\nc=IN IP4 S\na=fmtp:96 " + kVideoConfig + "\n"),
                 nlohmann::json::type_error);
    EXPECT_THROW(ZEFA_ReadSDP(nullptr, nullptr, Network.get(), &Essence, &Info), std::logic_error);
    EXPECT_EQ(Network->NbConnections_UL, kUntouched);
}

TEST_F(ReadSdp, ALineOfAMegabyteIsRead)
{
    EXPECT_EQ(Read(kHead + "a=x" + std::string(1'000'000, 'y') + "\n" + VideoMedia()), ZEFA_NO_ERROR);
}

TEST_F(ReadSdp, ThreadsReadAtOnce)
{
    std::vector<std::thread> threads;
    std::array<ZEFA_ERRORCODE, 4> results{};
    for (size_t i = 0; i < results.size(); ++i)
        threads.emplace_back(
            [i, &results]
            {
                const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
                ZEFA_ESSENCE_CONFIG essence{};
                ZEFA_SDP_INFO info{};
                const std::string text = kHead + VideoMedia() + AudioMedia();
                results[i] = ZEFA_ERR_FATAL;
                for (int round = 0; round < 50; ++round)
                    results[i] = ZEFA_ReadSDP(text.c_str(), nullptr, network.get(), &essence, &info);
            });
    for (std::thread& thread : threads)
        thread.join();
    for (const ZEFA_ERRORCODE result : results)
        EXPECT_EQ(result, ZEFA_NO_ERROR);
}
