// The essence records: defaults, equality, the wrapper of "Type" and "Data", and the content of "Data".
#include "RecordCheck.h"

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
using namespace Mxs::RtpEssence;

constexpr char kBits[] =
    R"({"BitSampling":"RGBNonLinear","BitDepth":"_12Bits","BitPadding":"_32BitsPadding","Endianness":"LittleEndian"})";
const BIT_PROPERTIES kBitsRead{BIT_SAMPLING_RGB_NON_LINEAR, BIT_DEPTH_12BITS, BIT_PADDING_32BITS, ENDIANNESS_LITTLE};

const std::string kVideo = std::string(R"({"FrameWidth":1920,"FrameHeight":1080,"Framerate":60,"Interlaced":true,
    "ClockType":"US","PackingMode_E":"Block","Colorimetry":"BT2020","UseDefaultTrOffset":false,"TrOffset":7,)") +
                           "\"NetworkBitProp\":" + kBits + ",\"AppBitProp\":" + kBits + "}";

CONFIG_ST2110_20 VideoRead()
{
    CONFIG_ST2110_20 config;
    config.FrameWidth = 1920;
    config.FrameHeight = 1080;
    config.Framerate = 60;
    config.Interlaced = true;
    config.ClockType = CLOCK_TYPE_US;
    config.NetworkBitProp = kBitsRead;
    config.PackingMode_E = PACKING_MODE_GENERAL; // "Block" is read as general
    config.Colorimetry = COLORIMETRY_BT2020;
    config.AppBitProp = kBitsRead;
    config.UseDefaultTrOffset = false;
    config.TrOffset = 7;
    return config;
}

constexpr char kAudio[] = R"({"Encoding":"L24","SamplingRate":"_96kHz","PacketTime":"_125us","ChannelNumber":16,
    "NbPacketsPerBuffer":8})";

CONFIG_ST2110_30 AudioRead()
{
    CONFIG_ST2110_30 config;
    config.Encoding = ENCODING_L24;
    config.SamplingRate = SAMPLING_RATE_96KHZ;
    config.PacketTime = PACKET_TIME_125US;
    config.ChannelNumber = 16;
    config.NbPacketsPerBuffer = 8;
    return config;
}

constexpr char kAnc[] = R"({"ActiveFrameWidth":1920,"RawFrameWidth":2200,"ActiveFrameHeight":1080,
    "RawFrameHeight":1125,"Framerate":50,"Interlaced":true,"ClockType":"US"})";

CONFIG_ST2110_40 AncRead()
{
    CONFIG_ST2110_40 config;
    config.ActiveFrameWidth = 1920;
    config.RawFrameWidth = 2200;
    config.ActiveFrameHeight = 1080;
    config.RawFrameHeight = 1125;
    config.Framerate = 50;
    config.Interlaced = true;
    config.ClockType = CLOCK_TYPE_US;
    return config;
}

std::string Wrapped(const char* type, const std::string& data)
{
    return std::string("{\"Type\":\"") + type + "\",\"Data\":" + data + "}";
}

// ---- defaults and equality ----

TEST(EssenceConfig, DefaultsOfVideo)
{
    const CONFIG_ST2110_20 config;
    EXPECT_EQ(config.EssenceType, 1u);
    EXPECT_EQ(config.FrameWidth, 1080u);
    EXPECT_EQ(config.FrameHeight, 1920u);
    EXPECT_EQ(config.Framerate, 30u);
    EXPECT_FALSE(config.Interlaced);
    EXPECT_EQ(config.ClockType, 0u);
    EXPECT_EQ(config.PackingMode_E, 0u);
    EXPECT_EQ(config.Colorimetry, 1u);
    EXPECT_TRUE(config.UseDefaultTrOffset);
    EXPECT_EQ(config.TrOffset, 0u);
    for (const BIT_PROPERTIES& bits : {config.NetworkBitProp, config.AppBitProp})
    {
        EXPECT_EQ(bits.BitSampling, 1u);
        EXPECT_EQ(bits.BitDepth, 0u);
        EXPECT_EQ(bits.BitPadding, 0u);
        EXPECT_EQ(bits.Endianness, 0u);
    }
}

TEST(EssenceConfig, DefaultsOfAudio)
{
    const CONFIG_ST2110_30 config;
    EXPECT_EQ(config.EssenceType, 2u);
    EXPECT_EQ(config.Encoding, 2u);
    EXPECT_EQ(config.SamplingRate, 48000u);
    EXPECT_EQ(config.PacketTime, 1000u);
    EXPECT_EQ(config.ChannelNumber, 2u);
    EXPECT_EQ(config.NbPacketsPerBuffer, 50u);
}

TEST(EssenceConfig, DefaultsOfAncillaryData)
{
    const CONFIG_ST2110_40 config;
    EXPECT_EQ(config.EssenceType, 3u);
    EXPECT_EQ(config.ActiveFrameWidth, 5500u);
    EXPECT_EQ(config.RawFrameWidth, 3840u);
    EXPECT_EQ(config.ActiveFrameHeight, 2250u);
    EXPECT_EQ(config.RawFrameHeight, 2160u);
    EXPECT_EQ(config.Framerate, 24u);
    EXPECT_FALSE(config.Interlaced);
    EXPECT_EQ(config.ClockType, 0u);
}

// Every field counts: a copy that differs in one of them is unequal, by both operations and through the base.
template <class Config, class... Members>
void CheckEveryFieldCounts(const Config& config, Members... members)
{
    const auto check = [&config](auto member)
    {
        Config other = config;
        EXPECT_TRUE(config == other);
        EXPECT_FALSE(config != other);
        EXPECT_FALSE(config.IsUnequalTo(other));
        if constexpr (std::is_same_v<std::remove_cvref_t<decltype(other.*member)>, BIT_PROPERTIES>)
            (other.*member).BitDepth += 1;
        else if constexpr (std::is_same_v<std::remove_cvref_t<decltype(other.*member)>, bool>)
            other.*member = !(other.*member);
        else
            other.*member += 1;
        const CONFIG& left = config;
        const CONFIG& right = other;
        EXPECT_FALSE(left == right);
        EXPECT_TRUE(left != right);
        EXPECT_TRUE(left.IsUnequalTo(right));
    };
    (check(members), ...);
}

TEST(EssenceConfig, EqualityComparesEveryField)
{
    using V = CONFIG_ST2110_20;
    using A = CONFIG_ST2110_30;
    using D = CONFIG_ST2110_40;
    CheckEveryFieldCounts(VideoRead(), &V::FrameWidth, &V::FrameHeight, &V::Framerate, &V::Interlaced, &V::ClockType,
                          &V::NetworkBitProp, &V::PackingMode_E, &V::Colorimetry, &V::AppBitProp,
                          &V::UseDefaultTrOffset, &V::TrOffset);
    CheckEveryFieldCounts(A(), &A::Encoding, &A::SamplingRate, &A::PacketTime, &A::ChannelNumber,
                          &A::NbPacketsPerBuffer);
    CheckEveryFieldCounts(D(), &D::ActiveFrameWidth, &D::RawFrameWidth, &D::ActiveFrameHeight, &D::RawFrameHeight,
                          &D::Framerate, &D::Interlaced, &D::ClockType);
}

TEST(EssenceConfig, OffsetCountsOnlyWhenTheDefaultIsNotUsed)
{
    CONFIG_ST2110_20 left, right;
    right.TrOffset = 9;
    EXPECT_TRUE(left == right);
    left.UseDefaultTrOffset = right.UseDefaultTrOffset = false;
    EXPECT_FALSE(left == right);
}

TEST(EssenceConfig, RecordsOfDifferentEssenceAreUnequal)
{
    const CONFIG_ST2110_20 video;
    const CONFIG_ST2110_30 audio;
    const CONFIG_ST2110_40 anc;
    const std::vector<const CONFIG*> all{&video, &audio, &anc};
    for (const CONFIG* left : all)
        for (const CONFIG* right : all)
            EXPECT_EQ(*left == *right, left == right);
    CONFIG_ST2110_30 disguised;
    disguised.EssenceType = ESSENCE_TYPE_ST2110_20;
    EXPECT_FALSE(static_cast<const CONFIG&>(video) == disguised) << "the class counts as well as its number";
}

TEST(EssenceStatusEquality, IsForVideoAlone)
{
    STATUS_ST2110_20 left, right;
    left.BufferInfo[0] = right.BufferInfo[0] = {1, 2};
    right.SlotDropped = 5;
    EXPECT_TRUE(left == right) << "dropped slots take no part";
    EXPECT_FALSE(left != right);
    EXPECT_TRUE(left.IsEqualTo(right));
    EXPECT_FALSE(left.IsUnequalTo(right));

    EXPECT_FALSE(STATUS_ST2110_30() == STATUS_ST2110_30());
    EXPECT_TRUE(STATUS_ST2110_30() != STATUS_ST2110_30());
    EXPECT_TRUE(STATUS_ST2110_30().IsUnequalTo(STATUS_ST2110_30()));
    EXPECT_FALSE(STATUS_ST2110_40() == STATUS_ST2110_40());
    EXPECT_TRUE(STATUS_ST2110_40().IsUnequalTo(STATUS_ST2110_40()));
}

TEST(EssenceStatusEquality, ComparesLockSizeTypeAndBuffers)
{
    const auto differs = [](auto change)
    {
        STATUS_ST2110_20 left, right;
        left.BufferInfo[3] = right.BufferInfo[3] = {1, 2};
        change(right);
        EXPECT_FALSE(left == right);
        EXPECT_TRUE(left != right);
    };
    differs([](STATUS& status) { status.LockSize = 1; });
    differs([](STATUS& status) { status.EssenceType = ESSENCE_TYPE_ST2110_30; });
    differs([](STATUS& status) { status.BufferInfo[4] = {}; });
    differs([](STATUS& status) { status.BufferInfo[3].Offset = 9; });
    differs([](STATUS& status) { status.BufferInfo[3].Size = 9; });
}

// ---- the content of "Data" ----

TEST(BitProperties, IsWrittenAndRead)
{
    EXPECT_EQ(Written(kBitsRead), Canonical(kBits));
    CheckReader<BIT_PROPERTIES>(kBits, {100, 100, 100, 100}, kBitsRead,
                                {MandatoryKey<&BIT_PROPERTIES::BitSampling>("BitSampling", "string"),
                                 MandatoryKey<&BIT_PROPERTIES::BitDepth>("BitDepth", "string"),
                                 MandatoryKey<&BIT_PROPERTIES::BitPadding>("BitPadding", "string"),
                                 MandatoryKey<&BIT_PROPERTIES::Endianness>("Endianness", "string")});
}

TEST(VideoConfig, Reads)
{
    CONFIG_ST2110_20 before;
    before.PackingMode_E = PACKING_MODE_BLOCK;
    CheckReader<CONFIG_ST2110_20>(kVideo.c_str(), before, VideoRead(),
                                  {MandatoryKey<&CONFIG_ST2110_20::FrameWidth>("FrameWidth", "number"),
                                   MandatoryKey<&CONFIG_ST2110_20::FrameHeight>("FrameHeight", "number"),
                                   MandatoryKey<&CONFIG_ST2110_20::Framerate>("Framerate", "number"),
                                   MandatoryKey<&CONFIG_ST2110_20::Interlaced>("Interlaced", "boolean"),
                                   MandatoryKey<&CONFIG_ST2110_20::ClockType>("ClockType", "string"),
                                   MandatoryKey<&CONFIG_ST2110_20::NetworkBitProp>("NetworkBitProp", "object"),
                                   MandatoryKey<&CONFIG_ST2110_20::PackingMode_E>("PackingMode_E", "string"),
                                   MandatoryKey<&CONFIG_ST2110_20::Colorimetry>("Colorimetry", "string"),
                                   MandatoryKey<&CONFIG_ST2110_20::AppBitProp>("AppBitProp", "object"),
                                   MandatoryKey<&CONFIG_ST2110_20::UseDefaultTrOffset>("UseDefaultTrOffset", "boolean"),
                                   MandatoryKey<&CONFIG_ST2110_20::TrOffset>("TrOffset", "number")});
}

TEST(VideoConfig, IsWrittenWithBlockPackingAsItIs)
{
    CONFIG_ST2110_20 config = VideoRead();
    config.PackingMode_E = PACKING_MODE_BLOCK;
    EXPECT_EQ(Written(config), Canonical(kVideo.c_str()));
}

TEST(AudioConfig, IsWrittenAndRead)
{
    EXPECT_EQ(Written(AudioRead()), Canonical(kAudio));
    CheckReader<CONFIG_ST2110_30>(
        kAudio, {}, AudioRead(),
        {MandatoryKey<&CONFIG_ST2110_30::Encoding>("Encoding", "string"),
         MandatoryKey<&CONFIG_ST2110_30::SamplingRate>("SamplingRate", "string"),
         MandatoryKey<&CONFIG_ST2110_30::PacketTime>("PacketTime", "string"),
         MandatoryKey<&CONFIG_ST2110_30::ChannelNumber>("ChannelNumber", "number"),
         MandatoryKey<&CONFIG_ST2110_30::NbPacketsPerBuffer>("NbPacketsPerBuffer", "number")});
}

TEST(AncConfig, IsWrittenAndRead)
{
    EXPECT_EQ(Written(AncRead()), Canonical(kAnc));
    CheckReader<CONFIG_ST2110_40>(kAnc, {}, AncRead(),
                                  {MandatoryKey<&CONFIG_ST2110_40::ActiveFrameWidth>("ActiveFrameWidth", "number"),
                                   MandatoryKey<&CONFIG_ST2110_40::RawFrameWidth>("RawFrameWidth", "number"),
                                   MandatoryKey<&CONFIG_ST2110_40::ActiveFrameHeight>("ActiveFrameHeight", "number"),
                                   MandatoryKey<&CONFIG_ST2110_40::RawFrameHeight>("RawFrameHeight", "number"),
                                   MandatoryKey<&CONFIG_ST2110_40::Framerate>("Framerate", "number"),
                                   MandatoryKey<&CONFIG_ST2110_40::Interlaced>("Interlaced", "boolean"),
                                   MandatoryKey<&CONFIG_ST2110_40::ClockType>("ClockType", "string")});
}

TEST(BufferInfo, Reads)
{
    CheckReader<BUFFER_INFO>(
        R"({"Offset":10000000000,"Size":20000000000})", {1, 1}, {10000000000, 20000000000},
        {MandatoryKey<&BUFFER_INFO::Offset>("Offset", "number"), MandatoryKey<&BUFFER_INFO::Size>("Size", "number")});
}

// ---- the wrapper of a configuration ----

TEST(ConfigWrapper, IsWrittenByTheTypeOfTheRecord)
{
    CONFIG_ST2110_20 video = VideoRead();
    video.PackingMode_E = PACKING_MODE_BLOCK;
    EXPECT_EQ(Written<CONFIG>(video), Canonical(Wrapped("ST2110_20", kVideo).c_str()));
    EXPECT_EQ(Written<CONFIG>(AudioRead()), Canonical(Wrapped("ST2110_30", kAudio).c_str()));
    EXPECT_EQ(Written<CONFIG>(AncRead()), Canonical(Wrapped("ST2110_40", kAnc).c_str()));
}

TEST(ConfigWrapper, OfNoKnownEssenceHasNoData)
{
    CONFIG_ST2110_20 config;
    config.EssenceType = ESSENCE_TYPE_RESERVED;
    EXPECT_EQ(Written<CONFIG>(config), R"({"Type":"Reserved"})");
    config.EssenceType = 4;
    EXPECT_EQ(Written<CONFIG>(config), R"({"Type":"Unknown Essence"})");
    config.EssenceType = ESSENCE_TYPE_ST2110_30;
    EXPECT_EQ(Written<CONFIG>(config), R"({"Type":"ST2110_30"})") << "the class is not the one of the number";
}

RESULT_CODE ReadConfigInto(const std::string& text, CONFIG& config)
{
    CONFIG* out = &config;
    const RESULT_CODE result = CSerializer::FromJSON(Parsed(text), &out, true);
    EXPECT_EQ(out, &config);
    return result;
}

TEST(ConfigWrapper, FillsTheRecordOfItsEssence)
{
    CONFIG_ST2110_20 video;
    CONFIG_ST2110_30 audio;
    CONFIG_ST2110_40 anc;
    EXPECT_EQ(ReadConfigInto(Wrapped("ST2110_20", kVideo), video), RESULT_NO_ERROR);
    EXPECT_EQ(ReadConfigInto(Wrapped("ST2110_30", kAudio), audio), RESULT_NO_ERROR);
    EXPECT_EQ(ReadConfigInto(Wrapped("ST2110_40", kAnc), anc), RESULT_NO_ERROR);
    EXPECT_TRUE(video == VideoRead());
    EXPECT_EQ(video.TrOffset, 7u);
    EXPECT_TRUE(audio == AudioRead());
    EXPECT_TRUE(anc == AncRead());
}

TEST(ConfigWrapper, MakesTheRecordOfItsEssence)
{
    const CONFIG_ST2110_20 video = VideoRead();
    const CONFIG_ST2110_30 audio = AudioRead();
    const CONFIG_ST2110_40 anc = AncRead();
    for (const auto& [text, expected] : {std::pair<std::string, const CONFIG*>(Wrapped("ST2110_20", kVideo), &video),
                                         std::pair<std::string, const CONFIG*>(Wrapped("ST2110_30", kAudio), &audio),
                                         std::pair<std::string, const CONFIG*>(Wrapped("ST2110_40", kAnc), &anc)})
    {
        CONFIG* made = nullptr;
        EXPECT_EQ(CSerializer::FromJSON(Parsed(text), &made, false), RESULT_NO_ERROR);
        const std::unique_ptr<CONFIG> owned(made);
        ASSERT_TRUE(owned);
        EXPECT_TRUE(*owned == *expected);
    }
}

TEST(ConfigWrapper, MadeWithoutDataBelongsToTheCallerAllTheSame)
{
    CONFIG* made = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"Type":"ST2110_40"})"), &made, false), RESULT_ESSENCE_MISMATCH);
    const std::unique_ptr<CONFIG> owned(made);
    ASSERT_TRUE(owned);
    EXPECT_TRUE(*owned == CONFIG_ST2110_40());
}

struct WrapperCase
{
    const char* name;
    std::string text;
    RESULT_CODE result;
};

TEST(ConfigWrapper, RefusesWhatDoesNotFitAndTouchesNothing)
{
    const WrapperCase cases[] = {
        {"no type", R"({"Data":{}})", RESULT_INVALID_ARGUMENT},
        {"type is a number", R"({"Type":1,"Data":{}})", RESULT_INVALID_ARGUMENT},
        {"type is null", R"({"Type":null,"Data":{}})", RESULT_INVALID_ARGUMENT},
        {"no object", "[]", RESULT_INVALID_ARGUMENT},
        {"null", "null", RESULT_INVALID_ARGUMENT},
        {"reserved", Wrapped("Reserved", kVideo), RESULT_NO_ERROR},
        {"unknown spelling", Wrapped("ST2110_50", kVideo), RESULT_NO_ERROR},
        {"reserved without data", R"({"Type":"Reserved"})", RESULT_NO_ERROR},
        {"another essence", Wrapped("ST2110_30", kAudio), RESULT_ESSENCE_MISMATCH},
        {"no data", R"({"Type":"ST2110_20"})", RESULT_ESSENCE_MISMATCH},
        {"data is an array", Wrapped("ST2110_20", "[]"), RESULT_ESSENCE_MISMATCH},
        {"data is null", Wrapped("ST2110_20", "null"), RESULT_ESSENCE_MISMATCH},
        {"data lacks keys", Wrapped("ST2110_20", R"({"FrameWidth":1})"), RESULT_NO_ERROR},
    };
    for (const WrapperCase& row : cases)
    {
        SCOPED_TRACE(row.name);
        CONFIG_ST2110_20 config = VideoRead();
        EXPECT_EQ(ReadConfigInto(row.text, config), row.result);
        EXPECT_TRUE(config == VideoRead());
    }
}

TEST(ConfigWrapper, ReservedMakesNoRecord)
{
    CONFIG* made = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(Wrapped("Reserved", "{}")), &made, false), RESULT_NO_ERROR);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(Wrapped("ST2110_20", kVideo)), &made, true), RESULT_OPERATION_FAILED);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(Wrapped("ST2110_20", kVideo)), static_cast<CONFIG**>(nullptr), false),
              RESULT_OPERATION_FAILED);
}

// ---- the wrapper of a status ----

constexpr char kStatus[] = R"({"Type":"ST2110_20","LockSize":5184000,"SlotDropped":3,
    "Data":{"BufferInfo":{"0":{"Offset":0,"Size":2592000},"1":{"Offset":2592000,"Size":2592000},"x":{"Offset":9,"Size":9}}}})";

RESULT_CODE ReadStatusInto(const value& document, STATUS& status)
{
    STATUS* out = &status;
    return CSerializer::FromJSON(document, &out, true);
}

TEST(StatusWrapper, FillsTheRecordAndSkipsBuffersWithoutANumber)
{
    STATUS_ST2110_20 status;
    status.BufferInfo[9] = {1, 1};
    EXPECT_EQ(ReadStatusInto(Parsed(kStatus), status), RESULT_NO_ERROR);
    EXPECT_EQ(status.LockSize, 5184000);
    EXPECT_EQ(status.SlotDropped, 3);
    EXPECT_EQ(status.Reserved, 0u);
    const std::map<uint32_t, BUFFER_INFO> expected{{0, {0, 2592000}}, {1, {2592000, 2592000}}};
    EXPECT_EQ(status.BufferInfo, expected);
}

TEST(StatusWrapper, MakesTheRecordOfItsEssence)
{
    for (const auto& [type, number] : {std::pair("ST2110_20", 1u), {"ST2110_30", 2u}, {"ST2110_40", 3u}})
    {
        value document = Parsed(kStatus);
        document["Type"] = value::string(type);
        STATUS* made = nullptr;
        EXPECT_EQ(CSerializer::FromJSON(document, &made, false), RESULT_NO_ERROR);
        const std::unique_ptr<STATUS> owned(made);
        ASSERT_TRUE(owned);
        EXPECT_EQ(owned->EssenceType, number);
        EXPECT_EQ(owned->LockSize, 5184000);
        EXPECT_EQ(owned->BufferInfo.size(), 2u);
    }
}

struct StatusCase
{
    const char* name;
    const char* key;   // erased if there is no value
    const char* value; //
    RESULT_CODE result;
    int32_t lockSize, slotDropped;
    size_t buffers;
};

TEST(StatusWrapper, ChecksItsKeys)
{
    const StatusCase cases[] = {
        {"no type", "Type", nullptr, RESULT_INVALID_ARGUMENT, -1, -2, 1},
        {"no lock size", "LockSize", nullptr, RESULT_INVALID_ARGUMENT, -1, -2, 1},
        {"type is a number", "Type", "1", RESULT_INVALID_ARGUMENT, -1, -2, 1},
        {"reserved", "Type", "\"Reserved\"", RESULT_NO_ERROR, -1, -2, 1},
        {"unknown spelling", "Type", "\"x\"", RESULT_NO_ERROR, -1, -2, 1},
        {"another essence", "Type", "\"ST2110_30\"", RESULT_ESSENCE_MISMATCH, -1, -2, 1},
        {"no data", "Data", nullptr, RESULT_ESSENCE_MISMATCH, -1, -2, 1},
        {"data is an array", "Data", "[]", RESULT_ESSENCE_MISMATCH, -1, -2, 1},
        {"data is text", "Data", "\"x\"", RESULT_ESSENCE_MISMATCH, -1, -2, 1},
        {"lock size is text", "LockSize", "\"5\"", RESULT_NO_ERROR, 0, 3, 2},
        {"negative lock size", "LockSize", "-5.9", RESULT_NO_ERROR, -5, 3, 2},
        {"no dropped slots", "SlotDropped", nullptr, RESULT_NO_ERROR, 5184000, 0, 2},
        {"dropped slots are text", "SlotDropped", "\"5\"", RESULT_NO_ERROR, 5184000, 0, 2},
        {"data without buffers", "Data", "{}", RESULT_NO_ERROR, 5184000, 3, 1},
        {"buffers are an array", "Data", R"({"BufferInfo":[]})", RESULT_NO_ERROR, 5184000, 3, 1},
        {"empty buffers", "Data", R"({"BufferInfo":{}})", RESULT_NO_ERROR, 5184000, 3, 0},
    };
    for (const StatusCase& row : cases)
    {
        SCOPED_TRACE(row.name);
        value document = Parsed(kStatus);
        if (row.value)
            document[row.key] = Parsed(row.value);
        else
            document.erase(row.key);
        STATUS_ST2110_20 status;
        status.LockSize = -1;
        status.SlotDropped = -2;
        status.BufferInfo[9] = {1, 1};
        EXPECT_EQ(ReadStatusInto(document, status), row.result);
        EXPECT_EQ(status.LockSize, row.lockSize);
        EXPECT_EQ(status.SlotDropped, row.slotDropped);
        EXPECT_EQ(status.BufferInfo.size(), row.buffers);
    }
    STATUS* none = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed("[]"), &none, false), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(kStatus), &none, true), RESULT_OPERATION_FAILED);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(kStatus), static_cast<STATUS**>(nullptr), false), RESULT_OPERATION_FAILED);
}

TEST(StatusWrapper, RefusesARecordWhoseClassIsNotTheOneOfItsNumber)
{
    STATUS_ST2110_30 disguised;
    disguised.EssenceType = ESSENCE_TYPE_ST2110_20;
    EXPECT_EQ(ReadStatusInto(Parsed(kStatus), disguised), RESULT_NO_ERROR);
    EXPECT_TRUE(disguised.BufferInfo.empty());
}

// ---- "Data" of a status ----

TEST(StatusData, NeedsItsBuffers)
{
    const auto check = [](auto status)
    {
        EXPECT_EQ(CSerializer::FromJSON(Parsed("{}"), &status), RESULT_INVALID_ARGUMENT);
        EXPECT_EQ(CSerializer::FromJSON(Parsed("[]"), &status), RESULT_INVALID_ARGUMENT);
        EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"BufferInfo":{"3":{"Offset":1,"Size":2}}})"), &status),
                  RESULT_NO_ERROR);
        EXPECT_EQ(status.BufferInfo, (std::map<uint32_t, BUFFER_INFO>{{3, {1, 2}}}));
        EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"BufferInfo":5})"), &status), RESULT_NO_ERROR);
        EXPECT_EQ(status.BufferInfo.size(), 1u);
        EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"BufferInfo":{}})"), static_cast<decltype(status)*>(nullptr)),
                  RESULT_OPERATION_FAILED);
    };
    check(STATUS_ST2110_20());
    check(STATUS_ST2110_30());
    check(STATUS_ST2110_40());
}

TEST(Buffers, AreKeyedByTheLow32BitsOfANumberAndTheFirstWins)
{
    std::map<uint32_t, BUFFER_INFO> buffers{{7, {7, 7}}};
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"10":{"Offset":1,"Size":1},"010":{"Offset":2,"Size":2},
                  "4294967298":{"Offset":3,"Size":3},"18446744073709551616":{"Offset":4,"Size":4},
                  "":{"Offset":5,"Size":5},"5":{"Offset":6},"6":[],"8":7,"12px":{"Offset":8,"Size":8}})"),
                                    &buffers),
              RESULT_NO_ERROR);
    // Members come sorted by their text, so "010" is before "10"; an incomplete record keeps its zeros.
    const std::map<uint32_t, BUFFER_INFO> expected{{2, {3, 3}}, {5, {0, 0}}, {10, {2, 2}}, {12, {8, 8}}};
    EXPECT_EQ(buffers, expected);
}

TEST(Buffers, AreReplacedOnlyByAnObject)
{
    std::map<uint32_t, BUFFER_INFO> buffers{{7, {7, 7}}};
    EXPECT_EQ(CSerializer::FromJSON(Parsed("[]"), &buffers), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(buffers.size(), 1u);
    EXPECT_EQ(CSerializer::FromJSON(Parsed("{}"), static_cast<std::map<uint32_t, BUFFER_INFO>*>(nullptr)),
              RESULT_OPERATION_FAILED);
    EXPECT_EQ(CSerializer::FromJSON(Parsed("{}"), &buffers), RESULT_NO_ERROR);
    EXPECT_TRUE(buffers.empty());
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer
