// From records to the text of a description, and why the writer refuses.
#include "sdp/ISdpModule.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace quill::sdp_module;

namespace
{
constexpr uint32_t kStudio = 0x0A000005; // 10.0.0.5
constexpr uint32_t kGroup = 0xEF010203;  // 239.1.2.3

// A module that writes the records of one test. Messages begin with "error: " or "warning: ".
struct Writing
{
    template <class Record>
    void Add(const Record& record)
    {
        Medias.push_back(std::make_unique<Record>(record));
    }

    SdpCode Write()
    {
        const auto module =
            CreateSdpModule([this](const std::string& message) { Messages.push_back("error: " + message); },
                            [this](const std::string& message) { Messages.push_back("warning: " + message); });
        module->SetMedias(Medias);
        if (HasSession) module->SetSession(Session);
        return module->Write(&Text);
    }

    SdpMediaList Medias;
    SdpSession Session;
    bool HasSession = false;
    std::string Text = "untouched";
    std::vector<std::string> Messages;
};

template <class Record>
Record Shared(SDP_MEDIA_TYPE type)
{
    Record record;
    record.Type = type;
    record.Port = 20000;
    record.PayloadType = 96;
    record.Destination.Version = kIpVersion4;
    record.Destination.Address.V4 = kGroup;
    record.MediaClock = SDP_MEDIA_CLOCK::Direct;
    record.RefClock.Type = SDP_REFCLOCK_TYPE::PtpTraceable;
    return record;
}

SdpMediaVideo Video()
{
    auto video = Shared<SdpMediaVideo>(SDP_MEDIA_TYPE::Video);
    video.Sampling = SDP_SAMPLING::YCbCr422;
    video.Depth = SDP_DEPTH::Bits10;
    video.Width = 1920;
    video.Height = 1080;
    video.Rate = 60;
    video.Is1001 = true;
    video.Colorimetry = SDP_COLORIMETRY::BT709;
    video.PackingMode = SDP_PACKING_MODE::General;
    video.Tcs = SDP_TCS::SDR;
    video.SenderTypePresent = true;
    video.SenderType = SDP_SENDER_TYPE::Wide;
    return video;
}

SdpMediaAudio Audio()
{
    auto audio = Shared<SdpMediaAudio>(SDP_MEDIA_TYPE::Audio);
    audio.PayloadType = 97;
    audio.Codec = SDP_AUDIO_CODEC::L24;
    audio.SamplingRate = SDP_AUDIO_RATE::Hz48000;
    audio.PacketTime = SDP_PACKET_TIME::Us1000;
    audio.ChannelCount = 2;
    return audio;
}

SdpMediaAnc Anc()
{
    auto anc = Shared<SdpMediaAnc>(SDP_MEDIA_TYPE::Anc);
    anc.PayloadType = 100;
    anc.Rate = 30;
    anc.Is1001 = true;
    return anc;
}

template <class Record>
std::string TextOf(const Record& record)
{
    Writing writing;
    writing.Add(record);
    EXPECT_EQ(writing.Write(), kSdpSuccess);
    EXPECT_EQ(writing.Messages, std::vector<std::string>());
    return writing.Text;
}

// The value of the only line that begins so.
template <class Record>
std::string LineOf(const Record& record, const std::string& begin)
{
    const std::string text = TextOf(record);
    const size_t at = text.find("\r\n" + begin);
    if (at == std::string::npos) return "no such line";
    const size_t from = at + 2 + begin.size();
    return text.substr(from, text.find("\r\n", from) - from);
}

template <class Record>
SdpCode CodeOf(const Record& record)
{
    Writing writing;
    writing.Add(record);
    const SdpCode code = writing.Write();
    EXPECT_EQ(writing.Text, "untouched") << "the string is assigned on success alone";
    EXPECT_EQ(writing.Messages, std::vector<std::string>());
    return code;
}
} // namespace

TEST(SdpModuleWriter, WritesAVideoWithItsSession)
{
    Writing writing;
    writing.HasSession = true;
    writing.Session.Name = "Camera 1";
    writing.Session.Description = "left";
    writing.Session.Start = 1;
    writing.Session.Stop = 4294967295;
    writing.Session.Origin.SessionId = 1700000000;
    writing.Session.Origin.SessionVersion = 18446744073709551615u;
    writing.Session.Origin.Address.Version = kIpVersion4;
    writing.Session.Origin.Address.Address.V4 = kStudio;
    writing.Add(Video());

    EXPECT_EQ(writing.Write(), kSdpSuccess);

    EXPECT_EQ(writing.Text, "v=0\r\n"
                            "o=- 1700000000 18446744073709551615 IN IP4 10.0.0.5\r\n"
                            "s=Camera 1\r\n"
                            "i=left\r\n"
                            "t=1 4294967295\r\n"
                            "m=video 20000 RTP/AVP 96\r\n"
                            "c=IN IP4 239.1.2.3\r\n"
                            "a=rtpmap:96 raw/90000\r\n"
                            "a=fmtp:96 sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=60000/1001; "
                            "depth=10; TCS=SDR; colorimetry=BT709; PM=2110GPM; TP=2110TPW; SSN=ST2110-20:2017;\r\n"
                            "a=ts-refclk:ptp=IEEE1588-2008:traceable\r\n"
                            "a=mediaclk:direct=0\r\n");
    EXPECT_EQ(writing.Messages, std::vector<std::string>());
}

TEST(SdpModuleWriter, ASessionIsWrittenAsItStartsOutWithItsEmptyLines)
{
    Writing writing;
    writing.HasSession = true;

    EXPECT_EQ(writing.Write(), kSdpSuccess);

    EXPECT_EQ(writing.Text, "v=0\r\no=- 0 0 IN IP \r\ns=\r\ni=\r\nt=0 0\r\n");
}

TEST(SdpModuleWriter, WithoutASessionVersionAndNameAreThoseOfTheWriter)
{
    EXPECT_EQ(TextOf(Audio()), "v=0\r\n"
                               "s=-\r\n"
                               "m=audio 20000 RTP/AVP 97\r\n"
                               "c=IN IP4 239.1.2.3\r\n"
                               "a=rtpmap:97 L24/48000/2\r\n"
                               "a=ptime:1\r\n"
                               "a=ts-refclk:ptp=IEEE1588-2008:traceable\r\n"
                               "a=mediaclk:direct=0\r\n");
}

TEST(SdpModuleWriter, WritesAncillaryDataAsVideoWithARateAlone)
{
    EXPECT_EQ(TextOf(Anc()), "v=0\r\n"
                             "s=-\r\n"
                             "m=video 20000 RTP/AVP 100\r\n"
                             "c=IN IP4 239.1.2.3\r\n"
                             "a=rtpmap:100 raw/90000\r\n"
                             "a=fmtp:100 exactframerate=30000/1001; SSN=ST2110-40:2018;\r\n"
                             "a=ts-refclk:ptp=IEEE1588-2008:traceable\r\n"
                             "a=mediaclk:direct=0\r\n");
}

TEST(SdpModuleWriter, WithoutMediaTheSessionStandsAlone)
{
    Writing writing;
    EXPECT_EQ(writing.Write(), kSdpSuccess);
    EXPECT_EQ(writing.Text, "v=0\r\ns=-\r\n");
}

TEST(SdpModuleWriter, ANullStringIsRefusedBeforeAnythingElse)
{
    const auto module = CreateSdpModule({}, {}); // a message would raise std::bad_function_call
    SdpMediaList medias;
    medias.push_back(std::make_unique<SdpMedia>());
    module->SetMedias(medias);

    EXPECT_EQ(module->Write(nullptr), 5u);
}

TEST(SdpModuleWriter, VideoFlagsAndOptionsHaveTheirPlaces)
{
    SdpMediaVideo video = Video();
    video.Interlaced = true;
    video.Segmented = true;
    video.Rate = 25;
    video.Is1001 = false;
    video.TrOffsetPresent = true;
    video.TrOffset = 0;

    EXPECT_EQ(LineOf(video, "a=fmtp:96 "),
              "sampling=YCbCr-4:2:2; width=1920; height=1080; interlace; segmented; exactframerate=25; depth=10; "
              "TCS=SDR; colorimetry=BT709; PM=2110GPM; TP=2110TPW; TROFF=0; SSN=ST2110-20:2017;");
}

TEST(SdpModuleWriter, WithoutASenderTypeItsParameterIsAbsent)
{
    SdpMediaVideo video = Video();
    video.SenderTypePresent = false;
    video.SenderType = SDP_SENDER_TYPE::NotSet;

    EXPECT_EQ(LineOf(video, "a=fmtp:96 "),
              "sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=60000/1001; depth=10; "
              "TCS=SDR; colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017;");
}

TEST(SdpModuleWriter, TheTwoDepthsOfSixteenBitsAreSpelledAlike)
{
    SdpMediaVideo video = Video();
    for (const SDP_DEPTH depth : {SDP_DEPTH::Bits16, SDP_DEPTH::Bits16Float})
    {
        video.Depth = depth;
        EXPECT_NE(LineOf(video, "a=fmtp:96 ").find("; depth=16; "), std::string::npos);
    }
}

TEST(SdpModuleWriter, AFractionalRateDoesNotWrapAround)
{
    SdpMediaAnc anc = Anc();
    anc.Rate = std::numeric_limits<uint32_t>::max();
    EXPECT_EQ(LineOf(anc, "a=fmtp:100 "), "exactframerate=4294967295000/1001; SSN=ST2110-40:2018;");
}

TEST(SdpModuleWriter, TimestampModeAndDelayFollowTheLastSemicolon)
{
    SdpMediaVideo video = Video();
    video.TsMode = SDP_TS_MODE::Samp;
    video.TsDelayPresent = true;
    const std::string config = LineOf(video, "a=fmtp:96 ");
    EXPECT_TRUE(config.ends_with("; TP=2110TPW; SSN=ST2110-20:2017; TSMODE=SAMP; TSDELAY=0;")) << config;

    SdpMediaAnc anc = Anc();
    anc.TsDelayPresent = true;
    anc.TsDelay = 4294967295;
    EXPECT_EQ(LineOf(anc, "a=fmtp:100 "), "exactframerate=30000/1001; SSN=ST2110-40:2018; TSDELAY=4294967295;");

    SdpMediaAudio audio = Audio();
    audio.ChannelOrder = "SMPTE2110.(ST)";
    EXPECT_EQ(LineOf(audio, "a=fmtp:97 "), "channel-order=SMPTE2110.(ST);");
    audio.TsMode = SDP_TS_MODE::Pres;
    EXPECT_EQ(LineOf(audio, "a=fmtp:97 "), "channel-order=SMPTE2110.(ST); TSMODE=PRES;");
}

TEST(SdpModuleWriter, TimestampModeWithoutAChannelOrderStartsFromAnEmptyConfig)
{
    SdpMediaAudio audio = Audio();
    audio.TsMode = SDP_TS_MODE::New;
    EXPECT_EQ(LineOf(audio, "a=fmtp:97 "), " TSMODE=NEW;");
    audio.TsDelayPresent = true;
    audio.TsDelay = 12;
    EXPECT_EQ(LineOf(audio, "a=fmtp:97 "), " TSMODE=NEW; TSDELAY=12;");
    audio.TsMode = SDP_TS_MODE::NotSet;
    EXPECT_EQ(LineOf(audio, "a=fmtp:97 "), " TSDELAY=12;");
}

TEST(SdpModuleWriter, WritesEachKindOfReferenceClock)
{
    SdpMediaAnc anc = Anc();
    anc.RefClock.Type = SDP_REFCLOCK_TYPE::Ptp;
    anc.RefClock.Id = {0x07, 0x16, 0x25, 0x34, 0x43, 0x52, 0xAB, 0x0C}; // the text's last group first
    anc.RefClock.Domain = 127;
    EXPECT_EQ(LineOf(anc, "a=ts-refclk:"), "ptp=IEEE1588-2008:0C-AB-52-43-34-25-16-07:127");
    anc.RefClock.Type = SDP_REFCLOCK_TYPE::PtpTraceable;
    EXPECT_EQ(LineOf(anc, "a=ts-refclk:"), "ptp=IEEE1588-2008:traceable");
    anc.RefClock.Type = SDP_REFCLOCK_TYPE::LocalMac;
    EXPECT_EQ(LineOf(anc, "a=ts-refclk:"), "localmac=52-43-34-25-16-07");
    anc.RefClock.Type = SDP_REFCLOCK_TYPE::NotSet;
    EXPECT_EQ(LineOf(anc, "a=ts-refclk:"), "") << "the attribute is there, without a value";
}

TEST(SdpModuleWriter, WritesAddressesOfEitherVersionAndNoneAsNothing)
{
    SdpMediaAnc anc = Anc();
    anc.Destination.Address.V4 = 0x7F000001;
    EXPECT_EQ(LineOf(anc, "c="), "IN IP4 127.0.0.1");
    anc.Destination.Version = kIpVersion6;
    const uint8_t group[16] = {0xFF, 0x3E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x12, 0x34};
    std::memcpy(anc.Destination.Address.V6, group, sizeof group);
    EXPECT_EQ(LineOf(anc, "c="), "IN IP6 ff3e::1234");
    anc.Destination.Version = kIpVersionNotSet;
    EXPECT_EQ(LineOf(anc, "c="), "IN IP ");
}

TEST(SdpModuleWriter, TwoPathsOfOneTypeMakeAGroup)
{
    Writing writing;
    SdpMediaAnc anc = Anc();
    anc.Mid = "first";
    writing.Add(anc);
    anc.Mid = "second";
    anc.Port = 65535;
    writing.Add(anc);

    EXPECT_EQ(writing.Write(), kSdpSuccess);

    EXPECT_EQ(writing.Text, "v=0\r\n"
                            "s=-\r\n"
                            "a=group:DUP first second\r\n"
                            "m=video 20000 RTP/AVP 100\r\n"
                            "c=IN IP4 239.1.2.3\r\n"
                            "a=rtpmap:100 raw/90000\r\n"
                            "a=fmtp:100 exactframerate=30000/1001; SSN=ST2110-40:2018;\r\n"
                            "a=mid:first\r\n"
                            "a=ts-refclk:ptp=IEEE1588-2008:traceable\r\n"
                            "a=mediaclk:direct=0\r\n"
                            "m=video 65535 RTP/AVP 100\r\n"
                            "c=IN IP4 239.1.2.3\r\n"
                            "a=rtpmap:100 raw/90000\r\n"
                            "a=fmtp:100 exactframerate=30000/1001; SSN=ST2110-40:2018;\r\n"
                            "a=mid:second\r\n"
                            "a=ts-refclk:ptp=IEEE1588-2008:traceable\r\n"
                            "a=mediaclk:direct=0\r\n");
}

TEST(SdpModuleWriter, OneRecordOfAnotherTypeOrWithoutAMidMakesNoGroupAtAll)
{
    const auto groupOf = [](const char* first, const char* second, bool otherType)
    {
        Writing writing;
        SdpMediaAnc anc = Anc();
        anc.Mid = first;
        writing.Add(anc);
        anc.Mid = second;
        writing.Add(anc);
        SdpMediaAudio audio = Audio();
        audio.Mid = "2";
        if (otherType) writing.Add(audio);
        EXPECT_EQ(writing.Write(), kSdpSuccess);
        return writing.Text.find("a=group:") != std::string::npos;
    };
    EXPECT_TRUE(groupOf("0", "1", false));
    EXPECT_FALSE(groupOf("0", "", false));
    EXPECT_FALSE(groupOf("", "1", false));
    EXPECT_FALSE(groupOf("0", "1", true)) << "video and ancillary data against audio";
}

TEST(SdpModuleWriter, ASingleMediaWithAMidMakesNoGroup)
{
    SdpMediaAnc anc = Anc();
    anc.Mid = "alone";
    EXPECT_EQ(LineOf(anc, "a=mid:"), "alone");
    EXPECT_EQ(LineOf(anc, "a=group:"), "no such line");
}

TEST(SdpModuleWriter, AValueWithoutASpellingIsUnsupportedAndNotTold)
{
    const auto with = [](auto record, auto change)
    {
        change(record);
        return CodeOf(record);
    };
    EXPECT_EQ(with(Video(), [](auto& video) { video.Sampling = SDP_SAMPLING::NotSet; }), 2u);
    EXPECT_EQ(with(Video(), [](auto& video) { video.Depth = SDP_DEPTH::NotSet; }), 2u);
    EXPECT_EQ(with(Video(), [](auto& video) { video.Tcs = SDP_TCS::NotSet; }), 2u);
    EXPECT_EQ(with(Video(), [](auto& video) { video.Colorimetry = SDP_COLORIMETRY::NotSet; }), 2u);
    EXPECT_EQ(with(Video(), [](auto& video) { video.PackingMode = SDP_PACKING_MODE::NotSet; }), 2u);
    EXPECT_EQ(with(Video(), [](auto& video) { video.SenderType = SDP_SENDER_TYPE::NotSet; }), 2u);
    EXPECT_EQ(with(Video(), [](auto& video) { video.MediaClock = SDP_MEDIA_CLOCK::NotSet; }), 2u);
    EXPECT_EQ(with(Video(), [](auto& video) { video.TsMode = static_cast<SDP_TS_MODE>(4); }), 2u);
    EXPECT_EQ(with(Audio(), [](auto& audio) { audio.Codec = SDP_AUDIO_CODEC::NotSet; }), 2u);
    EXPECT_EQ(with(Audio(), [](auto& audio) { audio.SamplingRate = SDP_AUDIO_RATE::NotSet; }), 2u);
    EXPECT_EQ(with(Audio(), [](auto& audio) { audio.PacketTime = SDP_PACKET_TIME::NotSet; }), 2u);
}

TEST(SdpModuleWriter, ATypeThatIsNoneIsToldWithItsNumber)
{
    for (const uint32_t type : {3u, 77u})
    {
        Writing writing;
        SdpMediaAnc anc = Anc();
        anc.Type = static_cast<SDP_MEDIA_TYPE>(type);
        writing.Add(anc);

        EXPECT_EQ(writing.Write(), 2u);

        EXPECT_EQ(writing.Messages, std::vector<std::string>{"error: error when writing media : invalid media type" +
                                                             std::to_string(type)});
        EXPECT_EQ(writing.Text, "untouched");
    }
}

TEST(SdpModuleWriter, TextsAreWrittenAsTheyStand)
{
    Writing writing;
    writing.HasSession = true;
    writing.Session.Name = "Stra\xdf"
                           "e";
    writing.Session.Description = "two\r\na=lines";
    writing.Session.Origin.Username = "";

    EXPECT_EQ(writing.Write(), kSdpSuccess);

    EXPECT_EQ(writing.Text, "v=0\r\no= 0 0 IN IP \r\ns=Stra\xdf"
                            "e\r\ni=two\r\na=lines\r\nt=0 0\r\n");
}
