// Essence configurations: the enumeration tables in both directions, and the search for a video standard.
#include "StreamModelTest.h"

#include <cstring>

namespace
{
using namespace Quillmont::Trellis::Mxs::RtpEssence;

class SetEssenceConfig : public StreamModelTest
{
protected:
    SetEssenceConfig() { Config.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_20; }

    const CONFIG_ST2110_20& SentVideo()
    {
        EXPECT_EQ(Created(kReceive, kVideo)->SetEssenceConfig(&Config), ZEFA_NO_ERROR);
        return Rest.Stream.SentVideoConfig;
    }

    const CONFIG_ST2110_30& SentAudio()
    {
        Config.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_30;
        EXPECT_EQ(Created(kReceive, kAudio)->SetEssenceConfig(&Config), ZEFA_NO_ERROR);
        return Rest.Stream.SentAudioConfig;
    }

    const CONFIG_ST2110_40& SentAncillary(uint32_t standard)
    {
        Config.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40;
        Config.Essence_X.ST2110_40_X.VideoStandard_E = standard;
        EXPECT_EQ(Created(kReceive, kAncillary)->SetEssenceConfig(&Config), ZEFA_NO_ERROR);
        return Rest.Stream.SentAncillaryConfig;
    }

    ZEFA_ESSENCE_CONFIG Config{};
    ZEFA_ST2110_20_CONFIG& Video = Config.Essence_X.ST2110_20_X;
};

class GetEssenceConfig : public StreamModelTest
{
protected:
    const ZEFA_ST2110_20_CONFIG& ReadVideo()
    {
        EXPECT_EQ(Created(kReceive, kVideo)->GetEssenceConfig(&Config), ZEFA_NO_ERROR);
        return Config.Essence_X.ST2110_20_X;
    }

    const ZEFA_ST2110_30_CONFIG& ReadAudio()
    {
        EXPECT_EQ(Created(kReceive, kAudio)->GetEssenceConfig(&Config), ZEFA_NO_ERROR);
        return Config.Essence_X.ST2110_30_X;
    }

    uint32_t ReadAncillary()
    {
        EXPECT_EQ(Created(kReceive, kAncillary)->GetEssenceConfig(&Config), ZEFA_NO_ERROR);
        return Config.Essence_X.ST2110_40_X.VideoStandard_E;
    }

    ZEFA_ESSENCE_CONFIG Config{};
};

struct Mapped
{
    uint32_t From, To;
};

TEST_F(SetEssenceConfig, VideoStandardGivesRasterRateAndClock)
{
    Video.VideoStandard_E = 7; // 1920 x 1080, 60 fields a second times 1000/1001

    const CONFIG_ST2110_20& sent = SentVideo();

    EXPECT_EQ(sent.FrameWidth, 1920u);
    EXPECT_EQ(sent.FrameHeight, 1080u);
    EXPECT_EQ(sent.Framerate, 60u);
    EXPECT_TRUE(sent.Interlaced);
    EXPECT_EQ(sent.ClockType, 1u);
}

TEST_F(SetEssenceConfig, UnknownVideoStandardLeavesTheDefaults)
{
    for (const uint32_t standard : {45u, 1000u, 0xFFFFFFFFu})
    {
        Video.VideoStandard_E = standard;

        const CONFIG_ST2110_20& sent = SentVideo();

        EXPECT_EQ(sent.FrameWidth, 1080u);
        EXPECT_EQ(sent.FrameHeight, 1920u);
        EXPECT_EQ(sent.Framerate, 30u);
        EXPECT_FALSE(sent.Interlaced);
        EXPECT_EQ(sent.ClockType, 0u);
    }
}

TEST_F(SetEssenceConfig, BitSamplingOnBothSides)
{
    for (const Mapped& row : {Mapped{0, 1}, {1, 2}, {2, 7}, {3, 8}, {4, 9}, {5, 11}, {6, 1}, {99, 1}})
    {
        Video.NetworkBitSampling_E = row.From;
        Video.AppBitSampling_E = 5;
        EXPECT_EQ(SentVideo().NetworkBitProp.BitSampling, row.To) << row.From;
        EXPECT_EQ(Rest.Stream.SentVideoConfig.AppBitProp.BitSampling, 11u);

        Video.NetworkBitSampling_E = 5;
        Video.AppBitSampling_E = row.From;
        EXPECT_EQ(SentVideo().AppBitProp.BitSampling, row.To) << row.From;
        EXPECT_EQ(Rest.Stream.SentVideoConfig.NetworkBitProp.BitSampling, 11u);
    }
}

TEST_F(SetEssenceConfig, BitDepthPaddingAndEndianness)
{
    for (const Mapped& row : {Mapped{0, 0}, {1, 1}, {2, 2}, {3, 0}, {99, 0}})
    {
        Video.NetworkBitDepth_E = Video.AppBitDepth_E = Video.AppBitPadding_E = row.From;
        const CONFIG_ST2110_20& sent = SentVideo();
        EXPECT_EQ(sent.NetworkBitProp.BitDepth, row.To) << row.From;
        EXPECT_EQ(sent.AppBitProp.BitDepth, row.To) << row.From;
        EXPECT_EQ(sent.AppBitProp.BitPadding, row.To) << row.From;
        EXPECT_EQ(sent.NetworkBitProp.BitPadding, 0u) << "the network has no padding";
    }
    for (const Mapped& row : {Mapped{0, 0}, {1, 1}, {2, 0}, {99, 0}})
    {
        Video.AppEndianness_E = row.From;
        EXPECT_EQ(SentVideo().AppBitProp.Endianness, row.To) << row.From;
        EXPECT_EQ(Rest.Stream.SentVideoConfig.NetworkBitProp.Endianness, 0u) << "the network's order is fixed";
    }
}

TEST_F(SetEssenceConfig, Colorimetry)
{
    for (const Mapped& row : {Mapped{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}, {8, 1}, {99, 1}})
    {
        Video.Colorimetry_E = row.From;
        EXPECT_EQ(SentVideo().Colorimetry, row.To) << row.From;
    }
}

TEST_F(SetEssenceConfig, PackingModeAlwaysGoesOutAsGeneral)
{
    for (const uint32_t mode : {0u, 1u, 99u})
    {
        Video.PackingMode_E = mode;
        EXPECT_EQ(SentVideo().PackingMode_E, 0u);
    }
}

TEST_F(SetEssenceConfig, TransmitOffset)
{
    Video.UseDefaultTrOffset_B = 0;
    Video.TrOffset_UL = 123;
    EXPECT_FALSE(SentVideo().UseDefaultTrOffset);
    EXPECT_EQ(Rest.Stream.SentVideoConfig.TrOffset, 123u);

    Video.UseDefaultTrOffset_B = 0x100; // any bit of the field
    EXPECT_TRUE(SentVideo().UseDefaultTrOffset);
}

TEST_F(SetEssenceConfig, AudioEnumerations)
{
    ZEFA_ST2110_30_CONFIG& audio = Config.Essence_X.ST2110_30_X;
    for (const Mapped& row : {Mapped{0, 2}, {1, 3}, {2, 2}, {99, 2}})
    {
        audio.Encoding_E = row.From;
        EXPECT_EQ(SentAudio().Encoding, row.To) << row.From;
    }
    for (const Mapped& row : {Mapped{0, 48000}, {1, 96000}, {2, 48000}, {99, 48000}})
    {
        audio.SamplingRate_E = row.From;
        EXPECT_EQ(SentAudio().SamplingRate, row.To) << row.From;
    }
    for (const Mapped& row : {Mapped{0, 1000}, {1, 125}, {2, 1000}, {99, 1000}})
    {
        audio.PacketTime_E = row.From;
        EXPECT_EQ(SentAudio().PacketTime, row.To) << row.From;
    }
    audio.ChannelNumber_UL = 8;
    audio.NbPacketsPerBuffer_UL = 20;
    EXPECT_EQ(SentAudio().ChannelNumber, 8u);
    EXPECT_EQ(Rest.Stream.SentAudioConfig.NbPacketsPerBuffer, 20u);
}

TEST_F(SetEssenceConfig, AncillaryStandardGivesTheSignal)
{
    const CONFIG_ST2110_40& interlaced = SentAncillary(7);
    EXPECT_EQ(interlaced.ActiveFrameWidth, 1920u);
    EXPECT_EQ(interlaced.RawFrameWidth, 2200u);
    EXPECT_EQ(interlaced.ActiveFrameHeight, 1080u);
    EXPECT_EQ(interlaced.RawFrameHeight, 1125u);
    EXPECT_EQ(interlaced.Framerate, 60u) << "30 frames of two fields";
    EXPECT_TRUE(interlaced.Interlaced);
    EXPECT_EQ(interlaced.ClockType, 1u);

    const CONFIG_ST2110_40& progressive = SentAncillary(3);
    EXPECT_EQ(progressive.ActiveFrameWidth, 1280u);
    EXPECT_EQ(progressive.RawFrameWidth, 1980u);
    EXPECT_EQ(progressive.ActiveFrameHeight, 720u);
    EXPECT_EQ(progressive.RawFrameHeight, 750u);
    EXPECT_EQ(progressive.Framerate, 50u);
    EXPECT_FALSE(progressive.Interlaced);
    EXPECT_EQ(progressive.ClockType, 0u);
}

TEST_F(SetEssenceConfig, UnknownAncillaryStandardGivesTheRowOfZeros)
{
    for (const uint32_t standard : {45u, 1000u, 0xFFFFFFFFu})
    {
        const CONFIG_ST2110_40& sent = SentAncillary(standard);

        EXPECT_EQ(sent.ActiveFrameWidth, 0u);
        EXPECT_EQ(sent.RawFrameWidth, 0u);
        EXPECT_EQ(sent.ActiveFrameHeight, 0u);
        EXPECT_EQ(sent.RawFrameHeight, 0u);
        EXPECT_EQ(sent.Framerate, 0u);
        EXPECT_TRUE(sent.Interlaced);
        EXPECT_EQ(sent.ClockType, 0u);
    }
}

TEST_F(SetEssenceConfig, EssenceIsThatOfTheStructureNotOfTheStream)
{
    Config.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_30;
    auto model = Created(kReceive, kVideo);

    model->SetEssenceConfig(&Config);

    EXPECT_THAT(Calls(), ElementsAre("Stream.SetEssenceConfig(5, essence 2)"));
}

TEST_F(SetEssenceConfig, UnknownEssenceIsLoggedAndNoFailure)
{
    auto model = Created(kReceive, kVideo);

    Config.EssenceType_E = 3;
    EXPECT_EQ(model->SetEssenceConfig(&Config), ZEFA_NO_ERROR);
    EXPECT_THAT(Errors(), ElementsAre("The essence type in the config 3is not supported. \r\n"));

    Config.EssenceType_E = -1;
    EXPECT_EQ(model->SetEssenceConfig(&Config), ZEFA_NO_ERROR);
    EXPECT_THAT(Errors(), ElementsAre("The essence type in the config 4294967295is not supported. \r\n"));

    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SetEssenceConfig, TranslatesTheResult)
{
    struct Row
    {
        uint32_t Result;
        ZEFA_ERRORCODE Expected;
    };
    for (const Row& row : {Row{5000, ZEFA_NO_ERROR},
                           {4, ZEFA_ERR_BAD_ARGUMENT},
                           {5013, ZEFA_ERR_INCORRECT_STATE},
                           {19, ZEFA_ERR_OPERATION_FAILED},
                           {0, ZEFA_ERR_OPERATION_FAILED},
                           {5017, ZEFA_ERR_COMMUNICATION}})
    {
        for (const int32_t essence : {0, 1, 2})
        {
            auto model = Created(kReceive, kVideo);
            Rest.Stream.Results["SetEssenceConfig"] = {row.Result};
            Config.EssenceType_E = essence;

            EXPECT_EQ(model->SetEssenceConfig(&Config), row.Expected) << row.Result;

            EXPECT_THAT(Errors(), IsEmpty());
        }
    }
}

TEST_F(GetEssenceConfig, FindsTheVideoStandard)
{
    CONFIG_ST2110_20& record = Rest.Stream.VideoConfig;
    record.FrameWidth = 1920;
    record.FrameHeight = 1080;
    record.Framerate = 50;
    record.Interlaced = true;
    EXPECT_EQ(ReadVideo().VideoStandard_E, 6u);
    EXPECT_EQ(Config.EssenceType_E, 0);

    record.Interlaced = false;
    EXPECT_EQ(ReadVideo().VideoStandard_E, 14u);

    record.ClockType = 1; // 50 times 1000/1001 is no standard
    EXPECT_EQ(ReadVideo().VideoStandard_E, 45u);

    record.Framerate = 60;
    EXPECT_EQ(ReadVideo().VideoStandard_E, 15u);

    record.ClockType = 2; // neither: as good as EU
    EXPECT_EQ(ReadVideo().VideoStandard_E, 16u);

    record.FrameHeight = 1079;
    EXPECT_EQ(ReadVideo().VideoStandard_E, 45u);
}

TEST_F(GetEssenceConfig, EveryVideoStandardComesBackAsItself)
{
    for (uint32_t standard = 0; standard <= 44; ++standard)
    {
        ZEFA_ESSENCE_CONFIG sent{};
        sent.Essence_X.ST2110_20_X.VideoStandard_E = standard;
        Created(kReceive, kVideo)->SetEssenceConfig(&sent);
        Rest.Stream.VideoConfig = Rest.Stream.SentVideoConfig;
        EXPECT_EQ(ReadVideo().VideoStandard_E, standard);
    }
}

TEST_F(GetEssenceConfig, EveryAncillaryStandardComesBackAsTheFirstOfItsSignal)
{
    for (uint32_t standard = 0; standard <= 44; ++standard)
    {
        ZEFA_ESSENCE_CONFIG sent{};
        sent.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40;
        sent.Essence_X.ST2110_40_X.VideoStandard_E = standard;
        Created(kReceive, kAncillary)->SetEssenceConfig(&sent);
        Rest.Stream.AncillaryConfig = Rest.Stream.SentAncillaryConfig;
        // A link of the pictures from 27 on is the signal of a smaller picture, which has the lower number.
        const uint32_t links[] = {9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26};
        EXPECT_EQ(ReadAncillary(), standard < 27 ? standard : links[standard - 27]) << standard;
    }
}

TEST_F(GetEssenceConfig, UnknownAncillarySignalIs45)
{
    EXPECT_EQ(ReadAncillary(), 45u) << "the record's own defaults are no signal";
    EXPECT_EQ(Config.EssenceType_E, 2);

    CONFIG_ST2110_40& record = Rest.Stream.AncillaryConfig;
    record.ActiveFrameWidth = record.RawFrameWidth = record.ActiveFrameHeight = record.RawFrameHeight = 0;
    record.Framerate = 0;
    record.Interlaced = true;
    EXPECT_EQ(ReadAncillary(), 45u) << "the row of zeros";
}

TEST_F(GetEssenceConfig, BitSampling)
{
    for (const Mapped& row : {Mapped{0, 6},
                              {1, 0},
                              {2, 1},
                              {3, 6},
                              {4, 0},
                              {5, 1},
                              {6, 6},
                              {7, 2},
                              {8, 3},
                              {9, 4},
                              {10, 6},
                              {11, 5},
                              {12, 6},
                              {99, 6}})
    {
        Rest.Stream.VideoConfig.NetworkBitProp.BitSampling = row.From;
        Rest.Stream.VideoConfig.AppBitProp.BitSampling = 11;
        EXPECT_EQ(ReadVideo().NetworkBitSampling_E, row.To) << row.From;
        EXPECT_EQ(Config.Essence_X.ST2110_20_X.AppBitSampling_E, 5u);

        Rest.Stream.VideoConfig.NetworkBitProp.BitSampling = 11;
        Rest.Stream.VideoConfig.AppBitProp.BitSampling = row.From;
        EXPECT_EQ(ReadVideo().AppBitSampling_E, row.To) << row.From;
        EXPECT_EQ(Config.Essence_X.ST2110_20_X.NetworkBitSampling_E, 5u);
    }
}

TEST_F(GetEssenceConfig, OtherVideoEnumerations)
{
    CONFIG_ST2110_20& record = Rest.Stream.VideoConfig;
    for (const Mapped& row : {Mapped{0, 0}, {1, 1}, {2, 2}, {3, 3}, {99, 3}})
    {
        record.NetworkBitProp.BitDepth = record.AppBitProp.BitDepth = record.AppBitProp.BitPadding = row.From;
        EXPECT_EQ(ReadVideo().NetworkBitDepth_E, row.To) << row.From;
        EXPECT_EQ(Config.Essence_X.ST2110_20_X.AppBitDepth_E, row.To) << row.From;
        EXPECT_EQ(Config.Essence_X.ST2110_20_X.AppBitPadding_E, row.To) << row.From;
    }
    for (const Mapped& row : {Mapped{0, 0}, {1, 1}, {2, 2}, {99, 2}})
    {
        record.AppBitProp.Endianness = row.From;
        EXPECT_EQ(ReadVideo().AppEndianness_E, row.To) << row.From;
    }
    for (const Mapped& row : {Mapped{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}, {8, 8}, {99, 8}})
    {
        record.Colorimetry = row.From;
        EXPECT_EQ(ReadVideo().Colorimetry_E, row.To) << row.From;
    }
    for (const Mapped& row : {Mapped{0, 0}, {1, 1}, {99, 1}})
    {
        record.PackingMode_E = row.From;
        EXPECT_EQ(ReadVideo().PackingMode_E, row.To) << row.From;
    }
}

TEST_F(GetEssenceConfig, TransmitOffsetAndTheFieldThatDoesNotTravel)
{
    Config.Essence_X.ST2110_20_X.Tcs_E = 4;
    Rest.Stream.VideoConfig.UseDefaultTrOffset = false;
    Rest.Stream.VideoConfig.TrOffset = 321;

    EXPECT_EQ(ReadVideo().UseDefaultTrOffset_B, 0u);

    EXPECT_EQ(Config.Essence_X.ST2110_20_X.TrOffset_UL, 321u);
    EXPECT_EQ(Config.Essence_X.ST2110_20_X.Tcs_E, 4u);
}

TEST_F(GetEssenceConfig, AudioEnumerations)
{
    CONFIG_ST2110_30& record = Rest.Stream.AudioConfig;
    for (const Mapped& row : {Mapped{2, 0}, {3, 1}, {0, 2}, {99, 2}})
    {
        record.Encoding = row.From;
        EXPECT_EQ(ReadAudio().Encoding_E, row.To) << row.From;
    }
    for (const Mapped& row : {Mapped{48000, 0}, {96000, 1}, {44100, 2}, {0, 2}})
    {
        record.SamplingRate = row.From;
        EXPECT_EQ(ReadAudio().SamplingRate_E, row.To) << row.From;
    }
    for (const Mapped& row : {Mapped{1000, 0}, {125, 1}, {250, 2}, {333, 2}, {4000, 2}})
    {
        record.PacketTime = row.From;
        EXPECT_EQ(ReadAudio().PacketTime_E, row.To) << row.From;
    }
    record.ChannelNumber = 16;
    record.NbPacketsPerBuffer = 48;
    EXPECT_EQ(ReadAudio().ChannelNumber_UL, 16u);
    EXPECT_EQ(ReadAudio().NbPacketsPerBuffer_UL, 48u);
    EXPECT_EQ(Config.EssenceType_E, 1);
}

TEST_F(GetEssenceConfig, SamplingRateTwoIsSetAs48000AndReadBackAsZero)
{
    ZEFA_ESSENCE_CONFIG sent{};
    sent.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_30;
    sent.Essence_X.ST2110_30_X.SamplingRate_E = 2;
    Created(kReceive, kAudio)->SetEssenceConfig(&sent);
    Rest.Stream.AudioConfig = Rest.Stream.SentAudioConfig;

    EXPECT_EQ(Rest.Stream.SentAudioConfig.SamplingRate, 48000u);
    EXPECT_EQ(ReadAudio().SamplingRate_E, 0u);
}

TEST_F(GetEssenceConfig, FailureFillsTheStructureWithTheDefaultsAndIsTranslated)
{
    struct Row
    {
        uint32_t Result;
        ZEFA_ERRORCODE Expected;
    };
    for (const Row& row :
         {Row{5013, ZEFA_ERR_INCORRECT_STATE}, {4, ZEFA_ERR_OPERATION_FAILED}, {5017, ZEFA_ERR_COMMUNICATION}})
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["GetEssenceConfig"] = {row.Result};
        std::memset(&Config, 0xEE, sizeof Config);

        EXPECT_EQ(model->GetEssenceConfig(&Config), row.Expected) << row.Result;

        EXPECT_EQ(Config.EssenceType_E, 0);
        EXPECT_EQ(Config.Essence_X.ST2110_20_X.VideoStandard_E, 45u);
        EXPECT_EQ(Config.Essence_X.ST2110_20_X.Colorimetry_E, 1u);
        EXPECT_EQ(Config.Essence_X.ST2110_20_X.UseDefaultTrOffset_B, 1u);
        EXPECT_THAT(Errors(), IsEmpty());
    }
}

TEST_F(GetEssenceConfig, UnknownEssenceIsLoggedAndNoFailure)
{
    auto model = Created(kReceive, 0xFFFFFFFE);

    EXPECT_EQ(model->GetEssenceConfig(&Config), ZEFA_NO_ERROR);

    EXPECT_THAT(Errors(), ElementsAre("The essence type in the config 4294967294is not supported. \r\n"));
    EXPECT_EQ(Config.EssenceType_E, -2);
    EXPECT_THAT(Calls(), IsEmpty());
}
} // namespace
