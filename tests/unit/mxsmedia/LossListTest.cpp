// Coverage of a slot, and the holes that it leaves, merged where there are too many.
#include "mxs/media/LossList.h"

#include "mxs/media/CoverageMap.h"

#include <random>

#include <gtest/gtest.h>

using mxs::media::CoverageMap;
using mxs::media::LossList;
using Losses = std::vector<LossList::Loss>;

namespace
{

Losses HolesOf(const CoverageMap& map)
{
    Losses holes;
    map.ForEachHole([&](uint64_t begin, uint64_t end) { holes.push_back({begin, end}); });
    return holes;
}

Losses ResultOf(LossList& list)
{
    const auto result = list.Result();
    return Losses(result.begin(), result.end());
}

} // namespace

TEST(CoverageMap, FindsHolesAtTheEdgesAndAcrossWords)
{
    CoverageMap map(200);
    EXPECT_EQ(HolesOf(map), (Losses{{0, 200}}));

    EXPECT_EQ(map.Mark(3, 60), 60u);   // 3..62
    EXPECT_EQ(map.Mark(100, 99), 99u); // 100..198
    EXPECT_EQ(HolesOf(map), (Losses{{0, 3}, {63, 100}, {199, 200}}));
    EXPECT_EQ(map.Mark(60, 45), 37u); // of which 60..62 and 100..104 are there
    EXPECT_EQ(HolesOf(map), (Losses{{0, 3}, {199, 200}}));
    EXPECT_FALSE(map.IsWhole());
    map.Mark(0, 200);
    EXPECT_TRUE(map.IsWhole());
    EXPECT_EQ(HolesOf(map), Losses{});
    map.Clear();
    EXPECT_EQ(HolesOf(map), (Losses{{0, 200}}));
}

TEST(CoverageMap, AgreesWithAPlainArray)
{
    std::mt19937 random(20);
    for (int round = 0; round < 200; ++round)
    {
        const uint64_t total = 1 + random() % 400;
        CoverageMap map(total);
        std::vector<bool> plain(total);
        for (int mark = 0; mark < 12; ++mark)
        {
            const uint64_t begin = random() % total;
            const uint64_t count = random() % (total - begin + 1);
            uint64_t fresh = 0;
            for (uint64_t i = begin; i < begin + count; ++i)
            {
                fresh += !plain[i];
                plain[i] = true;
            }
            ASSERT_EQ(map.Mark(begin, count), fresh);
        }
        Losses expected;
        for (uint64_t i = 0; i < total; ++i)
        {
            if (plain[i]) continue;
            if (!expected.empty() && expected.back().end == i)
                ++expected.back().end;
            else
                expected.push_back({i, i + 1});
        }
        ASSERT_EQ(HolesOf(map), expected);
    }
}

TEST(LossList, FewLossesComeOutAsTheyWentIn)
{
    LossList list(4);
    list.Clear(1000);

    list.Add(0, 5);
    list.Add(9, 10);

    EXPECT_EQ(ResultOf(list), (Losses{{0, 5}, {9, 10}}));
}

TEST(LossList, ALossAcrossTheBorderOfTwoFieldsIsTwo)
{
    LossList list(4);
    list.Clear(100);

    list.Add(90, 120);

    EXPECT_EQ(ResultOf(list), (Losses{{90, 100}, {100, 120}}));
}

TEST(LossList, TooManyLossesAreMergedWhereTheLeastLiesBetween)
{
    LossList list(3);
    list.Clear(1000);

    list.Add(0, 1);
    list.Add(11, 12); // 10 between
    list.Add(15, 16); // 3
    list.Add(50, 51); // 34
    list.Add(52, 53); // 1

    EXPECT_EQ(ResultOf(list), (Losses{{0, 1}, {11, 16}, {50, 53}}));
}

TEST(LossList, MergingStopsAtTheBorder)
{
    LossList list(2);
    list.Clear(100);

    list.Add(0, 1);
    list.Add(98, 99);
    list.Add(100, 101); // nearer to its neighbour than any other

    EXPECT_EQ(ResultOf(list), (Losses{{0, 99}, {100, 101}}));
}

TEST(LossList, AHundredThousandLossesNeitherOverflowNorGetLost)
{
    LossList list(64);
    const uint64_t border = 100000;
    list.Clear(border);

    for (uint64_t i = 0; i < 100000; ++i)
        list.Add(2 * i, 2 * i + 1);

    const Losses result = ResultOf(list);
    EXPECT_LE(result.size(), 64u);
    size_t at = 0;
    for (uint64_t i = 0; i < 100000; ++i) // each loss lies in one of the merged ones
    {
        while (at < result.size() && result[at].end <= 2 * i)
            ++at;
        ASSERT_LT(at, result.size());
        ASSERT_LE(result[at].begin, 2 * i);
    }
    for (const auto& loss : result)
        EXPECT_FALSE(loss.begin < border && loss.end > border);
}
