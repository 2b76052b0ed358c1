// ZEFA_WriteSDP: what it writes of the structures, how it fails, and its sizes.
#include "zefaline/sdp.h"

#include "logger/Priority.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using Quillmont::Logger::kPriorityError;

namespace
{
using LogLines = std::vector<LogCapture::Line>;

constexpr const char* kWriterFailed = "Error in ZEFA_WriteSDP when writing the SDP : 2";

struct WriteSdp : testing::Test
{
    WriteSdp()
    {
        Network->PayloadType_UB = 96;
        Network->NbConnections_UL = 1;
        Network->Connections_X[0].DestinationPort_US = 20000;
        Network->Connections_X[0].SourceIp_UL = 0x0A000005;
        Network->Connections_X[0].DestinationIp_UL = 0xEF010203;
        Network->Connections_X[1].DestinationPort_US = 20002;
        Network->Connections_X[1].SourceIp_UL = 0x0A000006;
        Network->Connections_X[1].DestinationIp_UL = 0xEF010204;
        Video().VideoStandard_E = ZEFA_VIDEO_STANDARD_1920X1080_P_59_94;
        Video().NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_10;
        Video().Colorimetry_E = ZEFA_SDP_COLORIMETRY_BT709;
        Video().UseDefaultTrOffset_B = 1;
        std::strcpy(Info.SessionName, "Camera 1");
        Info.TsMode_E = ZEFA_SDP_TS_MODE_NOT_SET;
        Info.RefClock_E = ZEFA_SDP_REFCLOCK_PTP_TRACEABLE;
    }

    ZEFA_ST2110_20_CONFIG& Video() { return Essence.Essence_X.ST2110_20_X; }

    ZEFA_ST2110_30_CONFIG& Audio()
    {
        if (Essence.EssenceType_E != ZEFA_ESSENCE_TYPE_ST2110_30)
        {
            Essence = {};
            Essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_30;
            Essence.Essence_X.ST2110_30_X = {ZEFA_SDP_AUDIO_CODEC_L24, ZEFA_SDP_AUDIO_RATE_48000, 2,
                                             ZEFA_SDP_PACKET_TIME_125US, 8};
        }
        return Essence.Essence_X.ST2110_30_X;
    }

    ZEFA_ERRORCODE Write()
    {
        uint32_t size = sizeof Buffer;
        const ZEFA_ERRORCODE result = ZEFA_WriteSDP(Network.get(), &Essence, &Info, Buffer, &size);
        if (result == ZEFA_NO_ERROR)
        {
            EXPECT_EQ(size, std::strlen(Buffer));
        }
        return result;
    }

    // The text with the two numbers of the origin, which follow the clock, as one letter each.
    std::string Text()
    {
        EXPECT_EQ(Write(), ZEFA_NO_ERROR);
        return std::regex_replace(std::string(Buffer), std::regex("o=- [0-9]+ [0-9]+ "), "o=- I V ");
    }

    std::string LineOf(const std::string& begin)
    {
        const std::string text = Text();
        const size_t at = text.find("\r\n" + begin);
        if (at == std::string::npos) return "no such line";
        return text.substr(at + 2, text.find("\r\n", at + 2) - at - 2);
    }

    std::string WriterCode()
    {
        Log.Clear();
        EXPECT_EQ(Write(), ZEFA_ERR_OPERATION_FAILED);
        return Log.All() == LogLines{{kPriorityError, kWriterFailed}} ? "2" : "something else was logged";
    }

    LogCapture Log;
    std::unique_ptr<ZEFA_STREAM_NETWORK_CONFIG> Network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG Essence{};
    ZEFA_SDP_INFO Info{};
    char Buffer[65536] = "";
};
} // namespace

TEST_F(WriteSdp, WritesAVideoOfOnePath)
{
    EXPECT_EQ(Text(), "v=0\r\n"
                      "o=- I V IN IP4 10.0.0.5\r\n"
                      "s=Camera 1\r\n"
                      "i=\r\n"
                      "t=0 0\r\n"
                      "m=video 20000 RTP/AVP 96\r\n"
                      "c=IN IP4 239.1.2.3\r\n"
                      "a=rtpmap:96 raw/90000\r\n"
                      "a=fmtp:96 sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=60000/1001; depth=10; "
                      "TCS=SDR; colorimetry=BT709; PM=2110GPM; TP=2110TPW; SSN=ST2110-20:2017;\r\n"
                      "a=ts-refclk:ptp=IEEE1588-2008:traceable\r\n"
                      "a=mediaclk:direct=0\r\n");
    EXPECT_EQ(Log.All(), LogLines{}) << "no entry, no exit";
}

TEST_F(WriteSdp, WritesAnAudioOfTwoPathsWithMidsAndAGroup)
{
    Audio().ChannelNumber_UL = 16;
    Network->NbConnections_UL = 2;
    Network->PayloadType_UB = 0x1FF61; // the low 8 bits: 97
    std::strcpy(Info.SessionDescription, "mix");
    std::strcpy(Info.ChannelOrder, "SMPTE2110.(SGRP)");
    Info.MediaClock_E = ZEFA_SDP_MEDIA_CLOCK_SENDER;
    Info.TsMode_E = ZEFA_SDP_TS_MODE_PRES;
    Info.TsDelayPresent_B = 255;
    Info.TsDelay_UL = 500;
    Info.RefClock_E = ZEFA_SDP_REFCLOCK_PTP;
    const uint8_t grandmaster[8] = {1, 2, 3, 4, 5, 6, 7, 0xFE};
    std::copy_n(grandmaster, 8, Info.RefClockId_UB);
    Info.RefClockDomain_UB = 127;

    EXPECT_EQ(Text(), "v=0\r\n"
                      "o=- I V IN IP4 10.0.0.5\r\n"
                      "s=Camera 1\r\n"
                      "i=mix\r\n"
                      "t=0 0\r\n"
                      "a=group:DUP 0 1\r\n"
                      "m=audio 20000 RTP/AVP 97\r\n"
                      "c=IN IP4 239.1.2.3\r\n"
                      "a=rtpmap:97 L24/48000/16\r\n"
                      "a=fmtp:97 channel-order=SMPTE2110.(SGRP); TSMODE=PRES; TSDELAY=500;\r\n"
                      "a=mid:0\r\n"
                      "a=ptime:0.125\r\n"
                      "a=ts-refclk:ptp=IEEE1588-2008:FE-07-06-05-04-03-02-01:127\r\n"
                      "a=mediaclk:sender\r\n"
                      "m=audio 20002 RTP/AVP 97\r\n"
                      "c=IN IP4 239.1.2.4\r\n"
                      "a=rtpmap:97 L24/48000/16\r\n"
                      "a=fmtp:97 channel-order=SMPTE2110.(SGRP); TSMODE=PRES; TSDELAY=500;\r\n"
                      "a=mid:1\r\n"
                      "a=ptime:0.125\r\n"
                      "a=ts-refclk:ptp=IEEE1588-2008:FE-07-06-05-04-03-02-01:127\r\n"
                      "a=mediaclk:sender\r\n");
}

TEST_F(WriteSdp, WritesAncillaryDataWithTheFieldRateOfItsSignal)
{
    Essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40;
    Essence.Essence_X.ST2110_40_X.VideoStandard_E = 7; // 1080 lines, 59.94 fields
    Info.RefClock_E = ZEFA_SDP_REFCLOCK_LOCALMAC;
    const uint8_t mac[8] = {0x11, 0x22, 0x33, 0x44, 0x55, 0xAA, 9, 9};
    std::copy_n(mac, 8, Info.RefClockId_UB);

    EXPECT_EQ(Text(), "v=0\r\n"
                      "o=- I V IN IP4 10.0.0.5\r\n"
                      "s=Camera 1\r\n"
                      "i=\r\n"
                      "t=0 0\r\n"
                      "m=video 20000 RTP/AVP 96\r\n"
                      "c=IN IP4 239.1.2.3\r\n"
                      "a=rtpmap:96 raw/90000\r\n"
                      "a=fmtp:96 exactframerate=60000/1001; SSN=ST2110-40:2018;\r\n"
                      "a=ts-refclk:localmac=AA-55-44-33-22-11\r\n"
                      "a=mediaclk:direct=0\r\n");

    Essence.Essence_X.ST2110_40_X.VideoStandard_E = 4000;
    EXPECT_EQ(LineOf("a=fmtp"), "a=fmtp:96 exactframerate=0; SSN=ST2110-40:2018;") << "no such signal is no failure";
}

TEST_F(WriteSdp, InterlacedVideoHasItsFieldRateAndAnOffsetWhenItIsNotTheDefault)
{
    Video().VideoStandard_E = ZEFA_VIDEO_STANDARD_1920X1080_I_50;
    Video().NetworkBitSampling_E = ZEFA_SDP_VIDEO_SAMPLING_RGB;
    Video().UseDefaultTrOffset_B = 0;
    Video().TrOffset_UL = 37;
    Video().Tcs_E = ZEFA_SDP_TCS_LINEAR;
    EXPECT_EQ(LineOf("a=fmtp"),
              "a=fmtp:96 sampling=RGB; width=1920; height=1080; interlace; exactframerate=50; depth=10; TCS=LINAR; "
              "colorimetry=BT709; PM=2110GPM; TP=2110TPW; TROFF=37; SSN=ST2110-20:2017;");
    Video().UseDefaultTrOffset_B = 0x100; // any bit of the 32
    EXPECT_EQ(LineOf("a=fmtp").find("TROFF"), std::string::npos);
}

TEST_F(WriteSdp, ATransferOutsideTheConstantsCountsAsSdr)
{
    Video().Tcs_E = 10;
    EXPECT_NE(LineOf("a=fmtp").find("; TCS=SDR; "), std::string::npos);
}

TEST_F(WriteSdp, ATimestampModeNeedsNoChannelOrder)
{
    Audio();
    EXPECT_EQ(LineOf("a=fmtp"), "no such line");
    Info.TsMode_E = ZEFA_SDP_TS_MODE_SAMP;
    EXPECT_EQ(LineOf("a=fmtp"), "a=fmtp:96  TSMODE=SAMP;");
}

TEST_F(WriteSdp, ANullBufferOrSizeIsAnInvalidPointerAndNothingElseIsLookedAt)
{
    const LogLines expected{{kPriorityError, "Error in ZEFA_WriteSDP : one of the pointer is null."}};
    uint32_t size = 1000;
    EXPECT_EQ(ZEFA_WriteSDP(nullptr, nullptr, nullptr, nullptr, &size), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Log.All(), expected);
    EXPECT_EQ(size, 1000u);
    Log.Clear();
    EXPECT_EQ(ZEFA_WriteSDP(nullptr, nullptr, nullptr, Buffer, nullptr), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Log.All(), expected);
}

TEST_F(WriteSdp, ABufferOfTheTextsOwnLengthLosesTheLastCharacter)
{
    // The version of the session can have a digit more or less with each call.
    for (int attempt = 0; attempt < 100; ++attempt)
    {
        ASSERT_EQ(Write(), ZEFA_NO_ERROR);
        const auto length = static_cast<uint32_t>(std::strlen(Buffer));
        char small[1000];
        std::memset(small, '#', sizeof small);
        uint32_t size = length;
        const ZEFA_ERRORCODE result = ZEFA_WriteSDP(Network.get(), &Essence, &Info, small, &size);
        if (result == ZEFA_ERR_BUFFER_TOO_SMALL || size != length) continue;

        ASSERT_EQ(result, ZEFA_NO_ERROR);
        EXPECT_EQ(std::strlen(small), length - 1);
        EXPECT_TRUE(std::string(small).ends_with("a=mediaclk:direct=0\r"));
        EXPECT_EQ(small[length], '#') << "nothing behind the buffer";
        return;
    }
    FAIL() << "no two texts of one length";
}

TEST_F(WriteSdp, TheLongestTextFitsIntoWhatTheManualAdvises)
{
    Video() = {.VideoStandard_E = ZEFA_VIDEO_STANDARD_1920X1080_I_59_94,
               .NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_12,
               .NetworkBitSampling_E = ZEFA_SDP_VIDEO_SAMPLING_ICTCP_444,
               .PackingMode_E = ZEFA_SDP_PACKING_GENERAL,
               .Colorimetry_E = ZEFA_SDP_COLORIMETRY_UNSPECIFIED,
               .AppBitDepth_E = 0,
               .AppBitSampling_E = 0,
               .AppBitPadding_E = 0,
               .AppEndianness_E = 0,
               .UseDefaultTrOffset_B = 0,
               .TrOffset_UL = 4294967295,
               .Tcs_E = ZEFA_SDP_TCS_BT2100LINHLG};
    std::memset(Info.SessionName, 'n', sizeof Info.SessionName);
    std::memset(Info.SessionDescription, 'd', sizeof Info.SessionDescription);
    Info.TsMode_E = ZEFA_SDP_TS_MODE_SAMP;
    Info.TsDelayPresent_B = 1;
    Info.TsDelay_UL = 4294967295;
    Info.RefClock_E = ZEFA_SDP_REFCLOCK_PTP;
    Info.RefClockDomain_UB = 255;
    Network->PayloadType_UB = 255;
    for (ZEFA_CONNECTION_CONFIG& path : Network->Connections_X)
    {
        path.SourceIp_UL = 0xFFFFFFFF;
        path.DestinationIp_UL = 0xFFFFFFFF;
        path.DestinationPort_US = 65535;
    }
    EXPECT_LT(Text().size() + 20, 1000u) << "20 digits of the origin";
    Network->NbConnections_UL = 128;
    EXPECT_LT(Text().size() + 20, 1000u + 127 * 500);
}

TEST_F(WriteSdp, ManyThreadsMayWriteAtOnce)
{
    const std::string expected = Text();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            [this, &expected]
            {
                for (int round = 0; round < 50; ++round)
                {
                    char text[1000];
                    uint32_t size = sizeof text;
                    EXPECT_EQ(ZEFA_WriteSDP(Network.get(), &Essence, &Info, text, &size), ZEFA_NO_ERROR);
                    EXPECT_TRUE(expected.ends_with(std::string(text).substr(std::string(text).find(" IN IP4"))));
                }
            });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(WriteSdp, ABufferThatIsTooSmallIsNotToldTheLength)
{
    for (const uint32_t offered : {0u, 1u, 200u})
    {
        uint32_t size = offered;
        Buffer[0] = '#';
        EXPECT_EQ(ZEFA_WriteSDP(Network.get(), &Essence, &Info, Buffer, &size), ZEFA_ERR_BUFFER_TOO_SMALL);
        EXPECT_EQ(size, offered);
        EXPECT_EQ(Buffer[0], '#');
    }
    EXPECT_EQ(Log.All(), LogLines{});
}

TEST_F(WriteSdp, AClockOrModeOutsideTheConstantsIsNotFoundAndNotLogged)
{
    Info.RefClock_E = 3;
    EXPECT_EQ(Write(), ZEFA_ERR_NOT_FOUND);
    Info.RefClock_E = ZEFA_SDP_REFCLOCK_PTP;
    Info.TsMode_E = 4;
    EXPECT_EQ(Write(), ZEFA_ERR_NOT_FOUND);
    Info.TsMode_E = ZEFA_SDP_TS_MODE_SAMP;
    Info.MediaClock_E = 3;
    EXPECT_EQ(Write(), ZEFA_ERR_NOT_FOUND);
    Video().NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_UNKNOWN; // a failure of the essence comes later
    EXPECT_EQ(Write(), ZEFA_ERR_NOT_FOUND);
    EXPECT_EQ(Log.All(), LogLines{});
    EXPECT_STREQ(Buffer, "");
}

TEST_F(WriteSdp, AMediaClockThatIsNotSetIsReadAndCannotBeWritten)
{
    Info.MediaClock_E = ZEFA_SDP_MEDIA_CLOCK_NOT_SET;
    EXPECT_EQ(WriterCode(), "2");
    EXPECT_STREQ(Buffer, "");
}

TEST_F(WriteSdp, AVideoValueOutsideTheConstantsEndsInTheWriter)
{
    const ZEFA_ST2110_20_CONFIG good = Video();
    const auto codeWith = [&](auto change)
    {
        Video() = good;
        change(Video());
        return WriterCode();
    };
    EXPECT_EQ(codeWith([](auto& video) { video.VideoStandard_E = ZEFA_VIDEO_STANDARD_UNKNOWN; }), "2");
    EXPECT_EQ(codeWith([](auto& video) { video.VideoStandard_E = -1; }), "2");
    EXPECT_EQ(codeWith([](auto& video) { video.NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_UNKNOWN; }), "2");
    EXPECT_EQ(codeWith([](auto& video) { video.NetworkBitSampling_E = ZEFA_SDP_VIDEO_SAMPLING_UNKNOWN; }), "2");
    EXPECT_EQ(codeWith([](auto& video) { video.PackingMode_E = ZEFA_SDP_PACKING_UNKNOWN; }), "2");
    EXPECT_EQ(codeWith([](auto& video) { video.Colorimetry_E = ZEFA_SDP_COLORIMETRY_UNKNOWN; }), "2");
}

TEST_F(WriteSdp, AnAudioValueOutsideTheConstantsEndsInTheWriter)
{
    const ZEFA_ST2110_30_CONFIG good = Audio();
    const auto codeWith = [&](auto change)
    {
        Audio() = good;
        change(Audio());
        return WriterCode();
    };
    EXPECT_EQ(codeWith([](auto& audio) { audio.Encoding_E = ZEFA_SDP_AUDIO_CODEC_UNKNOWN; }), "2");
    EXPECT_EQ(codeWith([](auto& audio) { audio.PacketTime_E = ZEFA_SDP_PACKET_TIME_UNKNOWN; }), "2");
    EXPECT_EQ(codeWith([](auto& audio) { audio.SamplingRate_E = ZEFA_SDP_AUDIO_RATE_UNKNOWN; }), "2");
}

TEST_F(WriteSdp, WithoutAPathOrAKnownEssenceTheSessionStandsAlone)
{
    const std::string session = "v=0\r\no=- I V IN IP4 10.0.0.5\r\ns=Camera 1\r\ni=\r\nt=0 0\r\n";
    Network->NbConnections_UL = 0;
    EXPECT_EQ(Text(), session);
    Network->NbConnections_UL = 2;
    Essence.EssenceType_E = 3;
    Info.RefClock_E = 3; // of no record
    EXPECT_EQ(Text(), session);
}

TEST_F(WriteSdp, PathsBehindTheLastOfTheArrayAreNotWritten)
{
    Network->NbConnections_UL = 4000000000;
    const std::string text = Text();

    size_t medias = 0;
    for (size_t at = text.find("\r\nm="); at != std::string::npos; at = text.find("\r\nm=", at + 1))
        ++medias;
    EXPECT_EQ(medias, 128u);
    EXPECT_NE(text.find(" 126 127\r\n"), std::string::npos);
}

TEST_F(WriteSdp, NamesWithoutANulEndWithTheirField)
{
    std::memset(Info.SessionName, 'n', sizeof Info.SessionName);
    std::memset(Info.SessionDescription, 'd', sizeof Info.SessionDescription);
    EXPECT_EQ(LineOf("s="), "s=" + std::string(50, 'n'));
    EXPECT_EQ(LineOf("i="), "i=" + std::string(50, 'd'));
}

TEST_F(WriteSdp, BytesThatAreNotUtf8AreWrittenAsTheyStand)
{
    std::strcpy(Info.SessionName, "Stra\xdf"
                                  "e");
    EXPECT_EQ(LineOf("s="), "s=Stra\xdf"
                            "e");
}

TEST_F(WriteSdp, TheSessionIsNumberedByTheClockAndItsVersionChanges)
{
    const auto numbers = [this]
    {
        EXPECT_EQ(Write(), ZEFA_NO_ERROR);
        const std::string text = Buffer;
        std::smatch found;
        EXPECT_TRUE(std::regex_search(text, found, std::regex("\r\no=- ([0-9]+) ([0-9]+) IN")));
        return std::pair(std::stoull(found[1]), std::stoull(found[2]));
    };
    const auto seconds = []
    {
        return static_cast<unsigned long long>(
            std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
                .count());
    };
    const auto before = seconds();
    const auto first = numbers();
    const auto second = numbers();
    const auto after = seconds();

    EXPECT_GE(first.first, before);
    EXPECT_LE(second.first, after);
    EXPECT_LT(first.second, 4294967295u);
    EXPECT_NE(first.second, second.second);
}
