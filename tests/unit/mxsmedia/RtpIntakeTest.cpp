// Whose packets are taken, once, and what is counted for each path and for all of them.
#include "mxs/media/RtpIntake.h"

#include "mxs/media/Assembler.h"

#include "Packets.h"

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

constexpr uint64_t kNow = 5'000'000'000;

class RtpIntakeTest : public testing::Test
{
protected:
    // True when the packet is taken; then its place is found, as by an assembler whose slot is open.
    bool Take(RtpIntake& intake, uint32_t sequence, size_t path, uint64_t nowNs = kNow, PacketHead head = {})
    {
        head.sequence = sequence;
        const Bytes packet = MakePacket(head, {});
        const auto taken = intake.Take(packet, path, nowNs);
        if (taken) intake.Fill(*taken);
        if (taken) AfterSilence = taken->afterSilence;
        return taken.has_value();
    }

    RtpIntake One{{.payloadType = 96}};
    RtpIntake Two{{.payloadType = 96, .paths = 2}};
    bool AfterSilence = false;
};

void ExpectPath(const RtpIntake& intake, size_t path, uint64_t received, uint64_t lost)
{
    EXPECT_EQ(intake.Counters().paths[path].received, received) << "path " << path;
    EXPECT_EQ(intake.Counters().paths[path].lost, lost) << "path " << path;
}

} // namespace

TEST_F(RtpIntakeTest, APacketOnTwoPathsIsTakenOnce)
{
    for (uint32_t sequence = 65530; sequence < 65530 + 10; ++sequence) // over the wrap
    {
        EXPECT_TRUE(Take(Two, sequence & 0xFFFF, 0));
        EXPECT_FALSE(Take(Two, sequence & 0xFFFF, 1));
    }
    EXPECT_EQ(Two.Counters().duplicates, 10u);
    EXPECT_EQ(Two.Counters().lost, 0u);
    ExpectPath(Two, 0, 10, 0);
    ExpectPath(Two, 1, 10, 0);
}

TEST_F(RtpIntakeTest, WhatOnePathLosesAndTheOtherBringsIsLostOnThatPathAlone)
{
    for (uint32_t sequence = 100; sequence < 120; ++sequence)
    {
        if (sequence % 5 != 3) Take(Two, sequence, 0);
        if (sequence % 5 != 1 && sequence > 101) Take(Two, sequence, 1);
    }
    EXPECT_EQ(Two.Counters().lost, 0u);
    ExpectPath(Two, 0, 16, 4); // 103, 108, 113, 118
    ExpectPath(Two, 1, 15, 3); // begins with 102; 106, 111, 116
}

TEST_F(RtpIntakeTest, WhatNoPathBringsIsLostOnAll)
{
    for (uint32_t sequence = 100; sequence < 110; ++sequence)
        for (const size_t path : {0u, 1u})
            if (sequence != 105) Take(Two, sequence, path);

    EXPECT_EQ(Two.Counters().lost, 1u);
    ExpectPath(Two, 0, 9, 1);
    ExpectPath(Two, 1, 9, 1);
}

TEST_F(RtpIntakeTest, APathThatDiesLosesNothingOfTheStream)
{
    for (uint32_t sequence = 0; sequence < 100; ++sequence)
    {
        if (sequence < 10 || sequence >= 90) Take(Two, sequence, 0);
        EXPECT_EQ(Take(Two, sequence, 1), sequence >= 10 && sequence < 90);
    }
    EXPECT_EQ(Two.Counters().lost, 0u);
    ExpectPath(Two, 0, 20, 80);
    ExpectPath(Two, 1, 100, 0);
}

TEST_F(RtpIntakeTest, APathThatIsFarBehindDisturbsNotTheOther)
{
    constexpr uint32_t kBehind = 20000; // 92 ms of a 1080p59.94 picture
    RtpIntake two({.payloadType = 96, .paths = 2});
    uint64_t now = kNow;
    uint32_t sequence = 30000;
    for (int burst = 0; burst < 100; ++burst, now += 1'000'000)
    {
        for (int packet = 0; packet < 10; ++packet, ++sequence)
            EXPECT_TRUE(Take(two, sequence, 0, now)) << sequence;
        for (int packet = 0; packet < 10; ++packet)
            Take(two, (sequence - kBehind) - 10 + uint32_t(packet), 1, now);
    }
    EXPECT_EQ(two.Counters().lost, 0u);
    EXPECT_EQ(two.Counters().duplicates, 0u); // such old ones are not known any more
}

TEST_F(RtpIntakeTest, ASourceThatBeginsAnewOnAllPathsIsFollowedAfterATenthOfASecond)
{
    for (uint32_t sequence = 50000; sequence < 50010; ++sequence)
        Take(Two, sequence, 0);
    const uint64_t later = kNow + 100'000'000;
    for (uint32_t sequence = 20000; sequence < 20010; ++sequence)
    {
        Take(Two, sequence, 0, later);
        Take(Two, sequence, 1, later);
    }
    EXPECT_TRUE(Take(Two, 20010, 1, later));
    EXPECT_FALSE(Take(Two, 20010, 0, later));
    EXPECT_TRUE(Take(Two, 20012, 0, later));
    EXPECT_EQ(Two.Counters().lost, 1u);
}

TEST_F(RtpIntakeTest, ASourceThatIsStartedAnewCloseBehindIsFollowedWhenNothingHigherHasComeForHalfASecond)
{
    for (RtpIntake* intake : {&One, &Two})
    {
        for (uint32_t sequence = 50000; sequence < 50010; ++sequence)
            Take(*intake, sequence, 0);
        uint64_t now = kNow;
        for (uint32_t sequence = 40000; sequence < 40024; ++sequence) // 480 ms, as late as packets may be
            Take(*intake, sequence, 0, now += 20'000'000);
        EXPECT_TRUE(Take(*intake, 40024, 0, now += 20'000'000)); // might be a late one
        EXPECT_TRUE(Take(*intake, 40025, 0, now += 20'000'000)); // and behind it a new count
        EXPECT_TRUE(Take(*intake, 40027, 0, now += 20'000'000));
        EXPECT_EQ(intake->Counters().lost, 1u) << "of the new count";
    }
}

TEST_F(RtpIntakeTest, PacketsOfASourceThatGoesOnAreLateHoweverManyComeInOrder)
{
    Take(One, 50000, 0);
    Take(One, 50100, 0);
    uint64_t now = kNow;
    for (uint32_t sequence = 50001; sequence < 50100; ++sequence)
    {
        now += 20'000'000;
        EXPECT_TRUE(Take(One, sequence, 0, now));
        EXPECT_TRUE(Take(One, sequence + 100, 0, now)); // the source goes on meanwhile
    }
    EXPECT_EQ(One.Counters().lost, 0u);
}

TEST_F(RtpIntakeTest, ALatePacketFillsTheGapThatItLeft)
{
    for (const uint32_t sequence : {10u, 11u, 14u})
        Take(One, sequence, 0);
    EXPECT_EQ(One.Counters().lost, 2u);
    ExpectPath(One, 0, 3, 2);

    Take(One, 12, 0);
    EXPECT_EQ(One.Counters().lost, 1u);
    ExpectPath(One, 0, 4, 1);
}

TEST_F(RtpIntakeTest, ALatePacketWithoutAPlaceStaysLost)
{
    Take(One, 10, 0);
    Take(One, 12, 0);
    PacketHead head;
    head.sequence = 11;
    const Bytes late = MakePacket(head, {});

    ASSERT_TRUE(One.Take(late, 0, kNow)); // and nobody says Fill

    EXPECT_EQ(One.Counters().lost, 1u);
}

TEST_F(RtpIntakeTest, AfterForgetAGapIsNoLossOnAnyPath)
{
    for (const size_t path : {0u, 1u})
        Take(Two, 10, path);
    Two.Forget();
    for (const size_t path : {0u, 1u})
        Take(Two, 500, path);

    EXPECT_EQ(Two.Counters().lost, 0u);
    ExpectPath(Two, 0, 2, 0);
    ExpectPath(Two, 1, 2, 0);
}

TEST_F(RtpIntakeTest, AnotherSourceIsHeardAfterASecondOfSilence)
{
    Take(One, 10, 0);
    EXPECT_FALSE(Take(One, 11, 0, kNow + kSilenceNs - 1, {.ssrc = 5}));
    EXPECT_EQ(One.Counters().otherSource, 1u);
    EXPECT_TRUE(Take(One, 900, 0, kNow + kSilenceNs, {.ssrc = 5}));
    EXPECT_TRUE(AfterSilence);
    EXPECT_EQ(One.Counters().ssrc, 5u);
    EXPECT_EQ(One.Counters().lost, 0u);
    EXPECT_FALSE(Take(One, 11, 0, kNow + kSilenceNs + 1));
    EXPECT_TRUE(Take(One, 901, 0, kNow + kSilenceNs + 1, {.ssrc = 5}));
    EXPECT_FALSE(AfterSilence);
}

TEST_F(RtpIntakeTest, ASourceThatGoesOnAfterSilenceIsTheSameAndItsGapsAreLost)
{
    Take(One, 65534, 0);
    EXPECT_TRUE(Take(One, 65535, 0, kNow + kSilenceNs));
    EXPECT_FALSE(AfterSilence);
    EXPECT_EQ(One.Counters().lost, 0u);

    EXPECT_TRUE(Take(One, 3, 0, kNow + 20 * kSilenceNs)); // 0 to 2 are missing
    EXPECT_FALSE(AfterSilence);
    EXPECT_EQ(One.Counters().lost, 3u);
    EXPECT_TRUE(Take(One, 1, 0, kNow + 20 * kSilenceNs + 1));
    EXPECT_FALSE(Take(One, 65535, 0, kNow + 20 * kSilenceNs + 1)); // once more
    ExpectPath(One, 0, 5, 2);
}

TEST_F(RtpIntakeTest, ASourceThatDoesNotGoOnAfterSilenceBeginsAnewAndNothingIsLost)
{
    for (const uint32_t sequence : {500u + 65, 500u, 499u, 9000u})
    {
        RtpIntake intake({.payloadType = 96});
        Take(intake, 500, 0);
        EXPECT_TRUE(Take(intake, sequence, 0, kNow + kSilenceNs)) << sequence;
        EXPECT_TRUE(AfterSilence) << sequence;
        EXPECT_EQ(intake.Counters().lost, 0u) << sequence;
    }
}

TEST_F(RtpIntakeTest, AnotherSourceBeginsAnewAfterSilenceWhateverItsNumber)
{
    Take(One, 500, 0);
    EXPECT_TRUE(Take(One, 501, 0, kNow + kSilenceNs, {.ssrc = 5}));
    EXPECT_TRUE(AfterSilence);
    EXPECT_TRUE(Take(One, 503, 0, kNow + kSilenceNs, {.ssrc = 5}));
    EXPECT_EQ(One.Counters().lost, 1u);
}

TEST_F(RtpIntakeTest, PacketsWithheldBeforeASilenceLetTheNextOneBeginAnew)
{
    Take(One, 500, 0);
    One.Forget();
    EXPECT_TRUE(Take(One, 502, 0, kNow + kSilenceNs));
    EXPECT_TRUE(AfterSilence);
    EXPECT_EQ(One.Counters().lost, 0u);
}

TEST_F(RtpIntakeTest, AfterAPauseEachPathHasLostWhatItDidNotBringAndNoMore)
{
    uint64_t nowNs = kNow;
    for (uint32_t sequence = 100; sequence < 110; ++sequence)
        for (const size_t path : {0u, 1u})
            if (path == 0 || sequence != 109) Take(Two, sequence, path, nowNs);
    for (nowNs += kReorderNs; nowNs < kNow + 3 * kSilenceNs; nowNs += kReorderNs)
        Two.Tick(nowNs);
    ExpectPath(Two, 0, 10, 0);
    ExpectPath(Two, 1, 9, 1);

    for (uint32_t sequence = 110; sequence < 120; ++sequence) // the first one comes on the second path alone
        for (const size_t path : {0u, 1u})
            if (path == 1 || sequence != 110) Take(Two, sequence, path, nowNs);
    EXPECT_FALSE(AfterSilence);
    Two.Tick(nowNs + kReorderNs);
    EXPECT_EQ(Two.Counters().lost, 0u);
    ExpectPath(Two, 0, 19, 1);
    ExpectPath(Two, 1, 19, 1);
}

TEST_F(RtpIntakeTest, APathThatIsBehindOverAPauseHasLostNothing)
{
    constexpr uint64_t kBehindNs = 9'000'000;
    for (const uint64_t nowNs : {kNow, kNow + 5 * kSilenceNs})
        for (uint32_t packet = 0; packet < 2; ++packet)
            for (const size_t path : {0u, 1u})
                Take(Two, (nowNs == kNow ? 100 : 102) + packet, path, nowNs + (packet + path) * kBehindNs);

    EXPECT_EQ(Two.Counters().lost, 0u);
    ExpectPath(Two, 0, 4, 0);
    ExpectPath(Two, 1, 4, 0);
}

TEST_F(RtpIntakeTest, WhatIsOfNoUseIsCountedByItsReasonAndOnNoPath)
{
    EXPECT_FALSE(Take(One, 1, 0, kNow, {.payloadType = 97}));
    EXPECT_FALSE(One.Take(Bytes(11, 0x80), 0, kNow));
    RtpIntake strict({.payloadType = 96, .ssrc = 7});
    EXPECT_FALSE(Take(strict, 1, 0));

    EXPECT_EQ(One.Counters().otherPayloadType, 1u);
    EXPECT_EQ(One.Counters().malformed, 1u);
    EXPECT_EQ(strict.Counters().otherSource, 1u);
    ExpectPath(One, 0, 0, 0);
}

TEST_F(RtpIntakeTest, TheUpperHalfOfTheNumberCountsWhereThePayloadHasIt)
{
    RtpIntake extended({.payloadType = 96, .numbering = RtpIntake::Numbering::Extended});
    EXPECT_TRUE(Take(extended, 0x0001'FFFF, 0));
    EXPECT_TRUE(Take(extended, 0x0002'0003, 0));

    EXPECT_EQ(extended.Counters().lost, 3u);
}
