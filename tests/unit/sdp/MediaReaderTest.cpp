// What video, audio and ancillary data have of their own.
#include "ReaderFixture.h"

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <utility>

using namespace quill::sdp_module;
using nlohmann::json;

namespace
{
const std::string kMissing = " value is missing in the following config string : ";

// The plain config with one parameter in another form; an empty replacement takes it out.
std::string With(const std::string& parameter, const std::string& replacement)
{
    std::string config = kVideoConfig + ";";
    const size_t begin = config.find(parameter + "=");
    const size_t end = config.find(';', begin);
    return config.replace(begin, end - begin, replacement);
}
} // namespace

TEST(ReadVideo, TakesEveryParameter)
{
    const Reading reading(VideoMedia("sampling=RGB; depth=12; width=3840; height=2160; exactframerate=60000/1001; "
                                     "colorimetry=BT2020; PM=2110BPM; TCS=PQ; TP=2110TPNL; TROFF=37; interlace; "
                                     "segmented; SSN=ST2110-20:2022; PAR=1:1; RANGE=FULL"));
    ASSERT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages, MessageList{});
    const auto& video = reading.Media<SdpMediaVideo>(0);
    EXPECT_EQ(video.Type, SDP_MEDIA_TYPE::Video);
    EXPECT_EQ(video.Sampling, SDP_SAMPLING::RGB);
    EXPECT_EQ(video.Depth, SDP_DEPTH::Bits12);
    EXPECT_EQ(video.Width, 3840u);
    EXPECT_EQ(video.Height, 2160u);
    EXPECT_EQ(video.Rate, 60u);
    EXPECT_TRUE(video.Is1001);
    EXPECT_EQ(video.Colorimetry, SDP_COLORIMETRY::BT2020);
    EXPECT_EQ(video.PackingMode, SDP_PACKING_MODE::Block);
    EXPECT_EQ(video.Tcs, SDP_TCS::PQ);
    EXPECT_TRUE(video.SenderTypePresent);
    EXPECT_EQ(video.SenderType, SDP_SENDER_TYPE::NarrowLinear);
    EXPECT_TRUE(video.TrOffsetPresent);
    EXPECT_EQ(video.TrOffset, 37u);
    EXPECT_TRUE(video.Interlaced);
    EXPECT_TRUE(video.Segmented);
}

TEST(ReadVideo, OptionalParametersThatAreAbsentStayAtTheirDefaults)
{
    const Reading reading(VideoMedia());
    const auto& video = reading.Media<SdpMediaVideo>(0);
    EXPECT_FALSE(video.Interlaced);
    EXPECT_FALSE(video.Segmented);
    EXPECT_FALSE(video.Is1001);
    EXPECT_FALSE(video.SenderTypePresent);
    EXPECT_EQ(video.SenderType, SDP_SENDER_TYPE::NotSet);
    EXPECT_FALSE(video.TrOffsetPresent);
    EXPECT_EQ(video.TrOffset, 0u);
}

TEST(ReadVideo, WithoutAFormatTheTreesErrorForAnEmptyListIsRaised)
{
    EXPECT_EQ(RaisedBy<json::out_of_range>("m=video 1 RTP/AVP 96\nc=IN IP4 239.0.0.1\n"),
              "[json.exception.out_of_range.401] array index 0 is out of range");
}

TEST(ReadVideo, AFormatWithoutParametersRaisesTheTreesError)
{
    EXPECT_EQ(RaisedBy<json::out_of_range>("m=video 1 RTP/AVP 96\na=fmtp:96 \n"),
              "[json.exception.out_of_range.403] key 'config' not found");
}

TEST(ReadVideo, SeveralFormatsAreAWarningAndTheFirstCounts)
{
    const std::string config = With("width", "width=1280");
    const Reading reading(VideoMedia(config, "a=fmtp:97 x\n"));
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages,
              MessageList{"warning: Multiple \"fmtp\" (2) attributes found a video media with : [{\"config\":\"" +
                          config +
                          "\",\"payload\":96},{\"config\":\"x\",\"payload\":97}]. Only the first is taken into "
                          "account."});
    EXPECT_EQ(reading.Media<SdpMediaVideo>(0).Width, 1280u);
}

TEST(ReadVideo, EveryMissingValueIsToldInAFixedOrderBeforeTheDefaultTransfer)
{
    const std::string config = "SSN=ST2110-20:2017";
    const Reading reading(VideoMedia(config));
    EXPECT_EQ(reading.Code, 1u);
    EXPECT_EQ(reading.Messages,
              (MessageList{"error: The sampling" + kMissing + config, "error: The colorimetry" + kMissing + config,
                           "error: The bit depth" + kMissing + config, "error: The framerate" + kMissing + config,
                           "error: The height" + kMissing + config, "error: The width" + kMissing + config,
                           "error: The packing mode" + kMissing + config,
                           "warning: TCS property was not found in the following config string :" + config +
                               ". Default value SDR was set."}));
    EXPECT_TRUE(reading.Medias().empty());
}

TEST(ReadVideo, OneMissingValueIsToldAlone)
{
    const std::pair<const char*, const char*> cases[] = {
        {"sampling", "sampling"},        {"colorimetry", "colorimetry"}, {"depth", "bit depth"},
        {"exactframerate", "framerate"}, {"height", "height"},           {"width", "width"},
        {"PM", "packing mode"},
    };
    for (const auto& [key, name] : cases)
    {
        const std::string config = With(key, "");
        const Reading reading(VideoMedia(config));
        EXPECT_EQ(reading.Code, 1u) << key;
        EXPECT_EQ(reading.Messages, MessageList{"error: The " + std::string(name) + kMissing + config});
    }
}

TEST(ReadVideo, WithoutATransferItIsStandardRangeAndAWarning)
{
    const std::string config = With("TCS", "");
    const Reading reading(VideoMedia(config));
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages, MessageList{"warning: TCS property was not found in the following config string :" +
                                            config + ". Default value SDR was set."});
    EXPECT_EQ(reading.Media<SdpMediaVideo>(0).Tcs, SDP_TCS::SDR);
}

TEST(ReadVideo, AnUnknownValueEndsTheReadAtOnce)
{
    const std::pair<const char*, const char*> cases[] = {
        {"sampling", "YCbCr-4:1:1"},
        {"depth", "16f"},
        {"colorimetry", "bt709"},
        {"PM", "GPM"},
        {"TCS", "LINEAR"},
        {"TP", "2110TPX"},
        {"exactframerate", "25/1"},
        {"exactframerate", "25/1001/1"},
        {"sampling", ""},
    };
    for (const auto& [key, value] : cases)
    {
        const std::string config = std::string(key) + " = " + value + " ; SSN=ST2110-20:2017";
        const Reading reading(VideoMedia(config));
        EXPECT_EQ(reading.Code, 2u) << config;
        EXPECT_EQ(reading.Messages,
                  MessageList{"error: Unsupported " + std::string(key) + " value \"" + value + "\"."});
        EXPECT_TRUE(reading.Medias().empty()) << config;
    }
}

TEST(ReadVideo, FrameRatesLoseTheirFraction)
{
    struct
    {
        const char* text;
        uint32_t rate;
        bool is1001;
    } const cases[] = {{"25", 25, false},        {"30000/1001", 30, true}, {"60000/1001", 60, true},
                       {"24000/1001", 24, true}, {"50 frames", 50, false}, {"999/1001", 0, true}};
    for (const auto& expected : cases)
    {
        const Reading reading(VideoMedia(With("exactframerate", "exactframerate=" + std::string(expected.text))));
        ASSERT_EQ(reading.Code, 0u) << expected.text;
        EXPECT_EQ(reading.Media<SdpMediaVideo>(0).Rate, expected.rate) << expected.text;
        EXPECT_EQ(reading.Media<SdpMediaVideo>(0).Is1001, expected.is1001) << expected.text;
    }
}

TEST(ReadVideo, ANumberThatIsNoneRaisesInvalidArgument)
{
    for (const char* config : {"width=wide", "height=", "exactframerate=fast", "exactframerate=/1001", "TROFF="})
        EXPECT_EQ(RaisedBy<std::invalid_argument>(VideoMedia(std::string(config) + "; SSN=ST2110-20:2017")),
                  "invalid stoi argument")
            << config;
    EXPECT_EQ(RaisedBy<std::out_of_range>(VideoMedia("width=4294967296; SSN=ST2110-20:2017")),
              "stoi argument out of range");
}

TEST(ReadVideo, FlagsAreTrimmedAndHaveNoValue)
{
    EXPECT_TRUE(Reading(VideoMedia(kVideoConfig + ";  interlace  ")).Media<SdpMediaVideo>(0).Interlaced);
    EXPECT_TRUE(Reading(VideoMedia(kVideoConfig + ";\tsegmented\t;")).Media<SdpMediaVideo>(0).Segmented);
    for (const char* other : {"interlace=1", "interlaced", "progressive", "Interlace", "segmented=1"})
    {
        const Reading reading(VideoMedia(kVideoConfig + "; " + other));
        EXPECT_EQ(reading.Code, 0u) << other;
        EXPECT_FALSE(reading.Media<SdpMediaVideo>(0).Interlaced) << other;
        EXPECT_FALSE(reading.Media<SdpMediaVideo>(0).Segmented) << other;
    }
}

TEST(ReadVideo, APieceOfThreeTokensIsIgnored)
{
    const Reading reading(VideoMedia(kVideoConfig + "; width=1=2;;=;"));
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Media<SdpMediaVideo>(0).Width, 1920u);
}

TEST(ReadVideo, AnOffsetThatIsNoNumberIsIgnored)
{
    const Reading reading(VideoMedia(kVideoConfig + "; TROFF=12a"));
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_FALSE(reading.Media<SdpMediaVideo>(0).TrOffsetPresent);
}

TEST(ReadVideo, TheWordMayStandAnywhereInTheConfig)
{
    EXPECT_EQ(Reading(VideoMedia(With("SSN", "note ST2110-20"))).Medias().size(), 1u);
    EXPECT_EQ(Reading(VideoMedia("exactframerate=25; SSN=ST2110-40:2018; also=ST2110-20")).Code, 1u)
        << "a picture before ancillary data";
}

TEST(ReadAnc, TakesTheRateAlone)
{
    const Reading reading(VideoMedia("exactframerate = 30000/1001 ; SSN=ST2110-40:2018; VPID_Code=133"));
    ASSERT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages, MessageList{});
    const auto& anc = reading.Media<SdpMediaAnc>(0);
    EXPECT_EQ(anc.Type, SDP_MEDIA_TYPE::Anc);
    EXPECT_EQ(anc.Rate, 30u);
    EXPECT_TRUE(anc.Is1001);
}

TEST(ReadAnc, WithoutARateTheReadEnds)
{
    const Reading reading(VideoMedia("SSN=ST2110-40:2018; exactframerate"));
    EXPECT_EQ(reading.Code, 1u);
    EXPECT_EQ(reading.Messages, MessageList{"error: The framerate" + kMissing + "SSN=ST2110-40:2018; exactframerate"});
}

TEST(ReadAnc, ABadRateEndsTheReadWithoutAMessage)
{
    for (const char* config :
         {"exactframerate=25/1; SSN=ST2110-40:2018", "exactframerate=25/1; exactframerate=25; SSN=ST2110-40:2018"})
    {
        const Reading reading(VideoMedia(config));
        EXPECT_EQ(reading.Code, 2u) << config;
        EXPECT_EQ(reading.Messages, MessageList{}) << config;
        EXPECT_TRUE(reading.Medias().empty()) << config;
    }
}

TEST(ReadAudio, TakesEveryField)
{
    const Reading reading(
        AudioMedia("97 L24/48000/8", "a=ptime:0.125\na=fmtp:97 x=1; channel-order = SMPTE2110.(71) \n"));
    ASSERT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages, MessageList{});
    const auto& audio = reading.Media<SdpMediaAudio>(0);
    EXPECT_EQ(audio.Type, SDP_MEDIA_TYPE::Audio);
    EXPECT_EQ(audio.Codec, SDP_AUDIO_CODEC::L24);
    EXPECT_EQ(audio.SamplingRate, SDP_AUDIO_RATE::Hz48000);
    EXPECT_EQ(audio.PacketTime, SDP_PACKET_TIME::Us125);
    EXPECT_EQ(audio.ChannelCount, 8u);
    EXPECT_EQ(audio.ChannelOrder, "SMPTE2110.(71)");
}

TEST(ReadAudio, AValueThatNoTableHasStaysNotSetInSilence)
{
    const Reading reading(AudioMedia("97 AM824/192000/2", "a=ptime:0.5\n"));
    ASSERT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages, MessageList{});
    const auto& audio = reading.Media<SdpMediaAudio>(0);
    EXPECT_EQ(audio.Codec, SDP_AUDIO_CODEC::NotSet);
    EXPECT_EQ(audio.SamplingRate, SDP_AUDIO_RATE::NotSet);
    EXPECT_EQ(audio.PacketTime, SDP_PACKET_TIME::NotSet);
    EXPECT_EQ(audio.ChannelCount, 2u);
    EXPECT_EQ(audio.ChannelOrder, "");
}

TEST(ReadAudio, APacketTimeIsComparedAsItPrintsWithSixDigits)
{
    const std::pair<const char*, SDP_PACKET_TIME> cases[] = {
        {"0.125", SDP_PACKET_TIME::Us125},    {"0.12500000", SDP_PACKET_TIME::Us125},
        {"0.250", SDP_PACKET_TIME::NotSet},   {"0.25", SDP_PACKET_TIME::NotSet},
        {"0.333", SDP_PACKET_TIME::Us333},    {"0.3330001", SDP_PACKET_TIME::Us333},
        {"1", SDP_PACKET_TIME::Us1000},       {"1.000", SDP_PACKET_TIME::Us1000},
        {"4.0", SDP_PACKET_TIME::Us4000},     {"0.1250001", SDP_PACKET_TIME::Us125},
        {"0.12501", SDP_PACKET_TIME::NotSet},
    };
    for (const auto& [text, expected] : cases)
    {
        const Reading reading(AudioMedia("97 L24/48000/2", "a=ptime:" + std::string(text) + "\n"));
        EXPECT_EQ(reading.Media<SdpMediaAudio>(0).PacketTime, expected) << text;
    }
}

TEST(ReadAudio, WithoutAMapTheTreesErrorForAnEmptyListIsRaised)
{
    EXPECT_EQ(RaisedBy<json::out_of_range>("m=audio 1 RTP/AVP 97\nc=IN IP4 239.0.0.1\na=ptime:1\n"),
              "[json.exception.out_of_range.401] array index 0 is out of range");
}

TEST(ReadAudio, SeveralMapsAreAWarningAndTheFirstCounts)
{
    const Reading reading(AudioMedia("97 L16/96000/4", "a=rtpmap:98 L24/48000/2\na=ptime:1\n"));
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages,
              MessageList{"warning: Multiple \"rtpmap\" (2) attributes found a audio media with : "
                          "[{\"codec\":\"L16\",\"encoding\":\"4\",\"payload\":97,\"rate\":96000},"
                          "{\"codec\":\"L24\",\"encoding\":\"2\",\"payload\":98,\"rate\":48000}]. Only the first is "
                          "taken into account."});
    EXPECT_EQ(reading.Media<SdpMediaAudio>(0).Codec, SDP_AUDIO_CODEC::L16);
    EXPECT_EQ(reading.Media<SdpMediaAudio>(0).SamplingRate, SDP_AUDIO_RATE::Hz96000);
}

TEST(ReadAudio, AMissingPartOfTheMapEndsTheRead)
{
    const std::pair<const char*, const char*> cases[] = {
        {"97 ", "error: The audio format value is not present in the \"rtpmap\" field : {\"payload\":97}"},
        {"97 L24", "error: The sampling rate value is not present in the \"rtpmap\" field : "
                   "{\"codec\":\"L24\",\"payload\":97}"},
        {"97 L24/48000", "error: The channel count value is not present in the \"rtpmap\" field : "
                         "{\"codec\":\"L24\",\"payload\":97,\"rate\":48000}"},
    };
    for (const auto& [map, message] : cases)
    {
        const Reading reading(AudioMedia(map));
        EXPECT_EQ(reading.Code, 1u) << map;
        EXPECT_EQ(reading.Messages, MessageList{message});
        EXPECT_TRUE(reading.Medias().empty()) << map;
    }
}

TEST(ReadAudio, AChannelCountThatIsNoNumberRaisesInvalidArgument)
{
    EXPECT_EQ(RaisedBy<std::invalid_argument>(AudioMedia("97 L24/48000/x")), "invalid stoi argument");
}

TEST(ReadAudio, WithoutAPacketTimeTheReadEnds)
{
    const Reading reading(AudioMedia("97 L24/48000/2", ""));
    EXPECT_EQ(reading.Code, 1u);
    EXPECT_EQ(reading.Messages,
              MessageList{"error: No \"ptime\" attribute was found for audio media : "
                          "{\"connection\":{\"ip\":\"239.0.0.2\",\"version\":4},\"fmtp\":[],\"payloads\":\"97\","
                          "\"port\":30000,\"protocol\":\"RTP/AVP\",\"rtp\":[{\"codec\":\"L24\",\"encoding\":\"2\","
                          "\"payload\":97,\"rate\":48000}],\"type\":\"audio\"}"});
}

// The dump is JSON text, which cannot hold bytes that are no UTF-8.
TEST(ReadAudio, AMessageThatWouldHoldBrokenTextRaisesTheTreesErrorInItsPlace)
{
    EXPECT_THROW(Reading(AudioMedia("97 L24/48000/2", "i=\xff\n")), json::type_error);
}
