// The session, the list of media, and what all media share.
#include "ReaderFixture.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <utility>

using namespace quill::sdp_module;
using nlohmann::json;

TEST(SdpModule, ANewModuleHoldsNothing)
{
    const auto module = CreateSdpModule([](const std::string&) {}, [](const std::string&) {});
    const SdpSession session = module->GetSession();
    EXPECT_EQ(session.Version, 0u);
    EXPECT_EQ(session.Name, "");
    EXPECT_EQ(session.Description, "");
    EXPECT_EQ(session.Start, 0u);
    EXPECT_EQ(session.Stop, 0u);
    EXPECT_EQ(session.Origin.Username, "-");
    EXPECT_EQ(session.Origin.SessionId, 0u);
    EXPECT_EQ(session.Origin.SessionVersion, 0u);
    EXPECT_EQ(session.Origin.Address.Version, 7u);
    EXPECT_TRUE(module->GetMedias().empty());
}

TEST(SdpModule, SetSessionCopiesTheRecord)
{
    const auto module = CreateSdpModule([](const std::string&) {}, [](const std::string&) {});
    SdpSession session;
    session.Name = "Camera";
    session.Stop = 9;
    session.Origin.Username = "crew";

    module->SetSession(session);
    session.Name = "changed";

    EXPECT_EQ(module->GetSession().Name, "Camera");
    EXPECT_EQ(module->GetSession().Stop, 9u);
    EXPECT_EQ(module->GetSession().Origin.Username, "crew");
}

namespace
{
struct CountedMedia : SdpMedia
{
    explicit CountedMedia(int& destroyed) : Destroyed(destroyed) {}
    ~CountedMedia() override { ++Destroyed; }
    int& Destroyed;
};
} // namespace

TEST(SdpModule, SetMediasDestroysTheOldRecordsAndEmptiesTheSourcesPlaces)
{
    int destroyed = 0;
    {
        const auto module = CreateSdpModule([](const std::string&) {}, [](const std::string&) {});
        SdpMediaList first;
        first.push_back(std::make_unique<CountedMedia>(destroyed));
        module->SetMedias(first);
        SdpMediaList second;
        second.push_back(std::make_unique<SdpMediaVideo>());
        second.push_back(std::make_unique<CountedMedia>(destroyed));
        second[0]->Port = 1;
        second[1]->Port = 2;

        module->SetMedias(second);

        EXPECT_EQ(destroyed, 1);
        ASSERT_EQ(second.size(), 2u);
        EXPECT_FALSE(second[0]);
        EXPECT_FALSE(second[1]);
        ASSERT_EQ(module->GetMedias().size(), 2u);
        EXPECT_EQ(module->GetMedias()[0]->Port, 1);
        EXPECT_EQ(module->GetMedias()[1]->Port, 2);
    }
    EXPECT_EQ(destroyed, 2);
}

TEST(SdpModule, AnEmptySinkRaisesBadFunctionCallAtTheFirstMessage)
{
    const auto module = CreateSdpModule(nullptr, nullptr);
    EXPECT_THROW(module->Read(""), std::bad_function_call);
}

TEST(SdpModule, ASecondReadAddsToTheList)
{
    const auto module = CreateSdpModule([](const std::string&) {}, [](const std::string&) {});
    EXPECT_EQ(module->Read(VideoMedia()), 0u);
    EXPECT_EQ(module->Read(AudioMedia()), 0u);
    EXPECT_EQ(module->GetMedias().size(), 2u);
}

TEST(ReadSession, TakesEveryField)
{
    const Reading reading("v=3\no=crew 12 34 IN IP4 10.1.2.3\ns=Camera\ni=Left wing\nt=5 6\n" + VideoMedia());
    const SdpSession session = reading.Session();
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(session.Version, 3u);
    EXPECT_EQ(session.Name, "Camera");
    EXPECT_EQ(session.Description, "Left wing");
    EXPECT_EQ(session.Start, 5u);
    EXPECT_EQ(session.Stop, 6u);
    EXPECT_EQ(session.Origin.Username, "crew");
    EXPECT_EQ(session.Origin.SessionId, 12u);
    EXPECT_EQ(session.Origin.SessionVersion, 34u);
    EXPECT_EQ(session.Origin.Address.Version, 4u);
    EXPECT_EQ(session.Origin.Address.Address.V4, 0x0A010203u);
    EXPECT_EQ(reading.Messages, MessageList{});
}

TEST(ReadSession, AbsentLinesLeaveTheFieldsAsTheyAre)
{
    const Reading reading("o= 1 2 IN IP4 10.0.0.1\nt=7 \n" + VideoMedia());
    EXPECT_EQ(reading.Session().Origin.Username, "-");
    EXPECT_EQ(reading.Session().Start, 7u);
    EXPECT_EQ(reading.Session().Stop, 0u);
}

TEST(ReadSession, KeepsTheLow32BitsOfIdentifiersAndTimes)
{
    const Reading reading("v=4294967297\no=- 4294967299 18446744073709551615 IN IP4 10.0.0.1\nt=4294967298 1\n" +
                          VideoMedia());
    EXPECT_EQ(reading.Session().Version, 1u);
    EXPECT_EQ(reading.Session().Origin.SessionId, 3u);
    EXPECT_EQ(reading.Session().Origin.SessionVersion, 0xFFFFFFFFu);
    EXPECT_EQ(reading.Session().Start, 2u);
}

TEST(ReadSession, AnIpv6OriginKeepsItsBytesInNetworkOrder)
{
    const Reading reading("o=- 1 2 IN IP6 fd00:2110::15\n" + VideoMedia());
    const uint8_t expected[16] = {0xfd, 0, 0x21, 0x10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x15};
    EXPECT_EQ(reading.Session().Origin.Address.Version, 6u);
    EXPECT_EQ(std::memcmp(reading.Session().Origin.Address.Address.V6, expected, 16), 0);
}

TEST(ReadSession, AnOriginOfAnotherIpVersionEndsTheRead)
{
    const Reading reading("o=- 1 2 IN IP5 10.0.0.1\n" + VideoMedia());
    EXPECT_EQ(reading.Code, 3u);
    EXPECT_EQ(reading.Messages, MessageList{"error: Unsupported IP version (5) in connection."});
    EXPECT_EQ(reading.Session().Origin.Address.Version, 7u);
    EXPECT_TRUE(reading.Medias().empty());
}

TEST(ReadSession, AHostNameAsOriginEndsTheReadBeforeTheIdentifiersAreTaken)
{
    const Reading reading("o=crew 1 2 IN IP4 host.example\n" + VideoMedia());
    EXPECT_EQ(reading.Code, 3u);
    EXPECT_EQ(reading.Messages, MessageList{"error: IP address (host.example) could not be properly converted to "
                                            "binary using inet_pton. Error : 0"});
    EXPECT_EQ(reading.Session().Origin.Address.Version, 4u);
    EXPECT_EQ(reading.Session().Origin.Username, "-");
    EXPECT_EQ(reading.Session().Origin.SessionId, 0u);
}

TEST(ReadSession, AnOriginWithoutAnAddressIsTakenWithoutIt)
{
    const Reading reading("o=crew 1 2 IN IP4 \n" + VideoMedia());
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Session().Origin.Address.Version, 7u);
    EXPECT_EQ(reading.Session().Origin.Username, "crew");
}

TEST(ReadMedias, AnEmptyListIsAWarningAndASuccess)
{
    const Reading reading("v=0\n");
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages, MessageList{"warning: No media was found"});
    EXPECT_TRUE(reading.Medias().empty());
}

TEST(ReadMedias, AMalformedMediaLineRaisesTheTreesErrorForItsType)
{
    EXPECT_EQ(RaisedBy<json::out_of_range>("m=video\n"), "[json.exception.out_of_range.403] key 'type' not found");
}

TEST(ReadMedias, AnUnsupportedTypeIsAWarningAndLeavesNoRecord)
{
    const Reading reading("m=application 1 UDP/TCP 5\n" + VideoMedia() + "m=text 2 RTP/AVP 7\n");
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages, (MessageList{"warning: The media with index 0 as an unsupported type : application",
                                             "warning: The media with index 2 as an unsupported type : text"}));
    ASSERT_EQ(reading.Medias().size(), 1u);
    EXPECT_EQ(reading.Medias()[0]->Port, 20000);
}

TEST(ReadMedias, AVideoThatIsNeitherPictureNorAncillaryIsAWarningAndLeavesNoRecord)
{
    const Reading reading("m=video 1 RTP/AVP 98\na=fmtp:98 TP=2110TPN\n" + VideoMedia());
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages,
              MessageList{"warning: The configuration video media \"TP=2110TPN\" could not be parsed. "
                          "Only ST2110-20 and ST2110-40 video media are supported."});
    ASSERT_EQ(reading.Medias().size(), 1u);
    EXPECT_TRUE(reading.Medias()[0]);
}

TEST(ReadMedias, WithoutAPortTheReadEndsAndTheRecordStays)
{
    const Reading reading(VideoMedia() + "m=video  RTP/AVP 96\na=fmtp:96 " + kVideoConfig + "\n" + VideoMedia());
    EXPECT_EQ(reading.Code, 3u);
    EXPECT_EQ(reading.Messages, MessageList{"error: No UDP port is associated with the media with index 1"});
    EXPECT_EQ(reading.Medias().size(), 2u) << "the records made before the failure, and none after";
}

TEST(ReadMedias, ThePortIsCutTo16Bits)
{
    const Reading reading("m=video 65537 RTP/AVP 96\nc=IN IP4 239.0.0.1\na=fmtp:96 " + kVideoConfig + "\n");
    EXPECT_EQ(reading.Medias().at(0)->Port, 1);
}

TEST(ReadMedias, WithoutAPayloadTheReadEnds)
{
    const Reading reading("m=video 20000 RTP/AVP\nc=IN IP4 239.0.0.1\na=fmtp:96 " + kVideoConfig + "\n");
    EXPECT_EQ(reading.Code, 3u);
    EXPECT_EQ(reading.Messages, MessageList{"error: No payload is associated with the media with index 0"});
}

TEST(ReadMedias, OnePayloadIsTheTypeCutTo8Bits)
{
    EXPECT_EQ(Reading(VideoMedia()).Medias().at(0)->PayloadType, 96);
    const Reading wide("m=video 1 RTP/AVP 353\nc=IN IP4 239.0.0.1\na=fmtp:96 " + kVideoConfig + "\n");
    EXPECT_EQ(wide.Medias().at(0)->PayloadType, 97);
}

TEST(ReadMedias, SeveralPayloadsAreAWarningAndTheTypeStaysZero)
{
    const Reading reading("m=video 1 RTP/AVP 96 97\nc=IN IP4 239.0.0.1\na=fmtp:96 " + kVideoConfig + "\n");
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Messages, MessageList{"warning: Multiple payloads are associated with the media with index 0. "
                                            "Only the first one (96) is accounted for."});
    EXPECT_EQ(reading.Medias().at(0)->PayloadType, 0);
}

TEST(ReadMedias, APayloadThatIsNoNumberRaisesInvalidArgument)
{
    EXPECT_EQ(
        RaisedBy<std::invalid_argument>("m=video 1 RTP/AVP x\nc=IN IP4 239.0.0.1\na=fmtp:96 " + kVideoConfig + "\n"),
        "invalid stoi argument");
}

TEST(ReadMedias, WithoutAConnectionOfItsOwnTheReadEnds)
{
    const Reading reading("c=IN IP4 239.0.0.9\nm=video 1 RTP/AVP 96\na=fmtp:96 " + kVideoConfig + "\n");
    EXPECT_EQ(reading.Code, 3u);
    EXPECT_EQ(reading.Messages, MessageList{"error: No connection is associated with the media with index 0"});
}

TEST(ReadConnection, AnIpv4AddressIsKeptInHostOrderAndItsTtlIsDropped)
{
    const Reading reading("m=video 1 RTP/AVP 96\nc=IN IP4 239.1.2.3/64\na=fmtp:96 " + kVideoConfig + "\n");
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Medias().at(0)->Destination.Version, 4u);
    EXPECT_EQ(reading.Medias().at(0)->Destination.Address.V4, 0xEF010203u);
}

TEST(ReadConnection, AnIpv6AddressIsKeptAs16BytesInNetworkOrder)
{
    const Reading reading("m=video 1 RTP/AVP 96\nc=IN IP6 ff3e::1\na=fmtp:96 " + kVideoConfig + "\n");
    const uint8_t expected[16] = {0xff, 0x3e, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Medias().at(0)->Destination.Version, 6u);
    EXPECT_EQ(std::memcmp(reading.Medias().at(0)->Destination.Address.V6, expected, 16), 0);
}

TEST(ReadConnection, AWrongAddressOrVersionEndsTheRead)
{
    const std::pair<const char*, const char*> cases[] = {
        {"IN IP4 239.0.0.256", "error: IP address (239.0.0.256) could not be properly converted to binary using "
                               "inet_pton. Error : 0"},
        {"IN IP4 239.0.0.1 x", "error: IP address (239.0.0.1 x) could not be properly converted to binary using "
                               "inet_pton. Error : 0"},
        {"IN IP6 239.0.0.1", "error: IP address (239.0.0.1) could not be properly converted to binary using "
                             "inet_pton. Error : 0"},
        {"IN IP9 239.0.0.1", "error: Unsupported IP version (9) in connection."},
    };
    for (const auto& [connection, message] : cases)
    {
        const Reading reading("m=video 1 RTP/AVP 96\nc=" + std::string(connection) + "\na=fmtp:96 " + kVideoConfig +
                              "\n");
        EXPECT_EQ(reading.Code, 3u) << connection;
        EXPECT_EQ(reading.Messages, MessageList{message}) << connection;
    }
}

TEST(ReadConnection, AnAbsentAddressRaisesTheTreesErrorInPlaceOfItsMessage)
{
    EXPECT_EQ(RaisedBy<json::type_error>("m=video 1 RTP/AVP 96\nc=IN IP4 Server\na=fmtp:96 " + kVideoConfig + "\n"),
              "[json.exception.type_error.302] type must be string, but is object");
}

TEST(ReadMediaClock, OnlyTheFirstWordCounts)
{
    const std::pair<const char*, SDP_MEDIA_CLOCK> cases[] = {
        {"direct=0", SDP_MEDIA_CLOCK::Direct},
        {"direct=0 rate=90000/1", SDP_MEDIA_CLOCK::Direct},
        {"\tdirect=0\t anything", SDP_MEDIA_CLOCK::Direct},
        {"sender", SDP_MEDIA_CLOCK::Sender},
    };
    for (const auto& [clock, expected] : cases)
    {
        const Reading reading(VideoMedia(kVideoConfig, "a=mediaclk:" + std::string(clock) + "\n"));
        EXPECT_EQ(reading.Code, 0u) << clock;
        EXPECT_EQ(reading.Medias().at(0)->MediaClock, expected) << clock;
    }
    EXPECT_EQ(Reading(VideoMedia()).Medias().at(0)->MediaClock, SDP_MEDIA_CLOCK::NotSet);
}

TEST(ReadMediaClock, AnyOtherClockEndsTheReadWithoutAMessage)
{
    for (const char* clock : {"direct=963", "Sender", "rate=90000 direct=0", "", " direct=0"})
    {
        const Reading reading(VideoMedia(kVideoConfig, "a=mediaclk:" + std::string(clock) + "\na=mid:x\n"));
        EXPECT_EQ(reading.Code, 2u) << clock;
        EXPECT_EQ(reading.Messages, MessageList{}) << clock;
        EXPECT_EQ(reading.Medias().at(0)->Mid, "") << clock;
    }
}

namespace
{
SdpRefClock ClockOf(const std::string& value, MessageList& messages)
{
    const Reading reading(VideoMedia(kVideoConfig, "a=ts-refclk:" + value + "\n"));
    EXPECT_EQ(reading.Code, 0u) << value;
    messages = reading.Messages;
    return reading.Medias().at(0)->RefClock;
}

using ClockId = std::array<uint8_t, 8>;
} // namespace

TEST(ReadRefClock, AGrandmasterIsStoredLastGroupFirst)
{
    MessageList messages;
    const SdpRefClock clock = ClockOf("ptp=IEEE1588-2008:39-A7-94-ff-fe-07-cb-d0:37", messages);
    EXPECT_EQ(clock.Type, SDP_REFCLOCK_TYPE::Ptp);
    EXPECT_EQ(clock.Id, (ClockId{0xd0, 0xcb, 0x07, 0xfe, 0xff, 0x94, 0xa7, 0x39}));
    EXPECT_EQ(clock.Domain, 37);
    EXPECT_EQ(messages, MessageList{});
}

TEST(ReadRefClock, GroupsAndDomainAreCutTo8Bits)
{
    MessageList messages;
    const SdpRefClock clock = ClockOf("ptp=IEEE1588-2008:100-1-2-3-4-5-6-1ff:257", messages);
    EXPECT_EQ(clock.Id, (ClockId{0xff, 6, 5, 4, 3, 2, 1, 0}));
    EXPECT_EQ(clock.Domain, 1);
}

TEST(ReadRefClock, AGrandmasterOfAnotherLengthIsAWarningAndTheTypeStaysPtp)
{
    MessageList messages;
    const SdpRefClock clock = ClockOf("ptp=IEEE1588-2008:39-A7-94:5", messages);
    EXPECT_EQ(clock.Type, SDP_REFCLOCK_TYPE::Ptp);
    EXPECT_EQ(clock.Id, ClockId{});
    EXPECT_EQ(clock.Domain, 5);
    EXPECT_EQ(messages,
              MessageList{"warning: Incorrectly formated grandmaster id. It should be 8 bytes long : 39-A7-94"});
}

TEST(ReadRefClock, ATraceableClockKeepsIdAndDomainAtZero)
{
    MessageList messages;
    const SdpRefClock clock = ClockOf("ptp=IEEE1588-2008:traceable", messages);
    EXPECT_EQ(clock.Type, SDP_REFCLOCK_TYPE::PtpTraceable);
    EXPECT_EQ(clock.Id, ClockId{});
    EXPECT_EQ(clock.Domain, 0);
    EXPECT_EQ(messages, MessageList{});
}

TEST(ReadRefClock, AnotherFormOfPtpIsAWarning)
{
    for (const std::string value :
         {"ptp=IEEE1588-2008", "ptp=IEEE1588-2008:39-A7-94-FF-FE-07-CB-D0", "ptp=IEEE1588-2008:traceable:1:2"})
    {
        MessageList messages;
        const SdpRefClock clock = ClockOf(value, messages);
        EXPECT_EQ(clock.Type, SDP_REFCLOCK_TYPE::NotSet) << value;
        EXPECT_EQ(messages,
                  MessageList{"warning: Incorrectly formated reference clock \"ptp=IEEE1588-2008\" : " + value});
    }
}

TEST(ReadRefClock, ALocalMacIsStoredLastGroupFirst)
{
    MessageList messages;
    const SdpRefClock clock = ClockOf("localmac=40-a3-6b-A0-2B-D2", messages);
    EXPECT_EQ(clock.Type, SDP_REFCLOCK_TYPE::LocalMac);
    EXPECT_EQ(clock.Id, (ClockId{0xd2, 0x2b, 0xa0, 0x6b, 0xa3, 0x40, 0, 0}));
    EXPECT_EQ(messages, MessageList{});
}

TEST(ReadRefClock, ALocalMacOfAnotherLengthTellsWhatStandsBehindTheColon)
{
    MessageList messages;
    const SdpRefClock clock = ClockOf("localmac=40-a3-6b:rest", messages);
    EXPECT_EQ(clock.Type, SDP_REFCLOCK_TYPE::NotSet);
    EXPECT_EQ(messages, MessageList{"warning: Incorrectly formated grandmaster id. It should be 8 bytes long : rest"});
}

TEST(ReadRefClock, ALocalMacOfAnotherLengthWithoutAColonRaisesOutOfRange)
{
    for (const char* value : {"localmac=40-a3-6b-A0-2B", "localmac", "localmac=40-a3-6b-A0-2B-D2-00"})
        EXPECT_NE(RaisedBy<std::out_of_range>(VideoMedia(kVideoConfig, "a=ts-refclk:" + std::string(value) + "\n")),
                  "nothing was thrown")
            << value;
}

TEST(ReadRefClock, AnotherKindOfClockIsAWarning)
{
    MessageList messages;
    const SdpRefClock clock = ClockOf("ntp=/traceable/:x", messages);
    EXPECT_EQ(clock.Type, SDP_REFCLOCK_TYPE::NotSet);
    EXPECT_EQ(messages, MessageList{"warning: Unsupported refclock type : ntp=/traceable/. Only \"ptp=IEEE1588-2008\" "
                                    "and \"localmac\" are supported."});
    ClockOf("ptp=IEEE1588-2019:39-A7-94-FF-FE-07-CB-D0:0", messages);
    EXPECT_EQ(messages, MessageList{"warning: Unsupported refclock type : ptp=IEEE1588-2019. Only "
                                    "\"ptp=IEEE1588-2008\" and \"localmac\" are supported."});
}

TEST(ReadRefClock, AGroupOrADomainThatIsNoNumberRaisesInvalidArgument)
{
    for (const char* value :
         {"ptp=IEEE1588-2008:39-A7-94-FF-FE-07-CB-D0:domain", "ptp=IEEE1588-2008:39-A7-94-FF-FE-07-CB-D0:",
          "ptp=IEEE1588-2008:39-A7-94-FF-xx-07-CB-D0:0", "localmac=40-a3-6b--2B-D2"})
        EXPECT_EQ(RaisedBy<std::invalid_argument>(VideoMedia(kVideoConfig, "a=ts-refclk:" + std::string(value) + "\n")),
                  "invalid stoi argument")
            << value;
}

TEST(ReadTimestamps, ModeAndDelayAreTakenFromTheFormat)
{
    const Reading reading(VideoMedia(kVideoConfig + "; TSMODE = PRES ;TSDELAY= 1200 "));
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Medias().at(0)->TsMode, SDP_TS_MODE::Pres);
    EXPECT_TRUE(reading.Medias().at(0)->TsDelayPresent);
    EXPECT_EQ(reading.Medias().at(0)->TsDelay, 1200u);
}

TEST(ReadTimestamps, AllFormatsOfTheMediaAreSearched)
{
    const Reading reading(VideoMedia(kVideoConfig, "a=fmtp:96 TSMODE=NEW\n"));
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Medias().at(0)->TsMode, SDP_TS_MODE::New);
}

TEST(ReadTimestamps, AnUnknownModeStopsTheMediaWithoutAMessage)
{
    const Reading reading(VideoMedia(kVideoConfig + "; TSMODE=LATE", "a=mid:x\n"));
    EXPECT_EQ(reading.Code, 2u);
    EXPECT_EQ(reading.Messages, MessageList{});
    EXPECT_EQ(reading.Medias().at(0)->Mid, "");
}

TEST(ReadTimestamps, ADelayThatIsNoNumberIsIgnored)
{
    for (const char* delay : {"12a", "-1", "1 2", "1=2"})
    {
        const Reading reading(VideoMedia(kVideoConfig + "; TSDELAY=" + delay));
        EXPECT_EQ(reading.Code, 0u) << delay;
        EXPECT_FALSE(reading.Medias().at(0)->TsDelayPresent) << delay;
        EXPECT_EQ(reading.Medias().at(0)->TsDelay, 0u) << delay;
    }
}

TEST(ReadTimestamps, AnEmptyDelayRaisesInvalidArgument)
{
    EXPECT_EQ(RaisedBy<std::invalid_argument>(VideoMedia(kVideoConfig + "; TSDELAY=")), "invalid stoi argument");
    EXPECT_EQ(RaisedBy<std::out_of_range>(VideoMedia(kVideoConfig + "; TSDELAY=2147483648")),
              "stoi argument out of range");
}

TEST(ReadTimestamps, AFormatWithoutParametersRaisesTheTreesError)
{
    EXPECT_EQ(RaisedBy<json::out_of_range>(VideoMedia(kVideoConfig, "a=fmtp:97 \n")),
              "[json.exception.out_of_range.403] key 'config' not found");
}

TEST(ReadMid, IsTakenAsItStands)
{
    EXPECT_EQ(Reading(VideoMedia(kVideoConfig, "a=mid:primary\n")).Medias().at(0)->Mid, "primary");
}

TEST(ReadMedias, ClocksOfTheSessionCountForNoMedia)
{
    const Reading reading("a=mediaclk:direct=0\na=ts-refclk:ptp=IEEE1588-2008:traceable\na=group:DUP a b\n" +
                          VideoMedia());
    EXPECT_EQ(reading.Code, 0u);
    EXPECT_EQ(reading.Medias().at(0)->MediaClock, SDP_MEDIA_CLOCK::NotSet);
    EXPECT_EQ(reading.Medias().at(0)->RefClock.Type, SDP_REFCLOCK_TYPE::NotSet);
}

TEST(ReadMedias, EachMediaIsARecordInTextOrder)
{
    const Reading reading(VideoMedia() + AudioMedia() + VideoMedia());
    ASSERT_EQ(reading.Medias().size(), 3u);
    EXPECT_EQ(reading.Medias()[0]->Type, SDP_MEDIA_TYPE::Video);
    EXPECT_EQ(reading.Medias()[1]->Type, SDP_MEDIA_TYPE::Audio);
    EXPECT_EQ(reading.Medias()[2]->Type, SDP_MEDIA_TYPE::Video);
}
