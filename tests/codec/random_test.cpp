#include "codec/cod_random.h"

#include <limits>
#include <set>
#include <vector>

#include "support/qz_test.h"

namespace
{

std::vector<int> Draws(QZInt64 seed, int count)
{
    QZRandom random(seed);
    std::vector<int> values;
    for (int i = 0; i < count; ++i) values.push_back(random.NextQZInt32());
    return values;
}

}  // namespace

TEST(Random, TypeIsRandom)
{
    QZRandom random;
    EXPECT_EQ(random.GetType(), 0x81FF200);
    EXPECT_EQ(QZRandom::Type, 0x81FF200);
}

TEST(Random, SameSeedGivesTheSameSequence)
{
    EXPECT_EQ(Draws(0, 2000), Draws(0, 2000));
    EXPECT_EQ(Draws(-77, 50), Draws(-77, 50));
    QZRandom random;
    for (const int value : Draws(0, 100)) EXPECT_EQ(random.NextQZInt32(), value);
}

TEST(Random, EveryFourNumbersComeTwice)
{
    const std::vector<int> draws = Draws(0, 2048);
    for (std::size_t i = 0; i < draws.size(); i += 8)
        for (std::size_t j = 0; j < 4; ++j) EXPECT_EQ(draws[i + j], draws[i + j + 4]) << i + j;
    // 32 positions in each of 4 tables, then the sequence repeats.
    EXPECT_EQ(std::set<int>(draws.begin(), draws.end()).size(), 128u);
    for (std::size_t i = 0; i + 256 < draws.size(); ++i) ASSERT_EQ(draws[i], draws[i + 256]);
}

TEST(Random, SeedIsAPositionInTheSequence)
{
    const std::vector<int> all = Draws(0, 300);
    for (const int seed : {1, 5, 8, 131, 255})
    {
        const std::vector<int> some = Draws(seed, 20);
        for (std::size_t i = 0; i < some.size(); ++i)
            EXPECT_EQ(some[i], all[static_cast<std::size_t>(seed) + i]) << seed;
    }
    EXPECT_EQ(Draws(-1, 1)[0], all[255]);
    EXPECT_EQ(Draws(256, 10), Draws(0, 10));
    EXPECT_EQ(Draws(std::numeric_limits<QZInt64>::max(), 2)[1], all[0]);
}

TEST(Random, ShortNumbersComeFromEvenPositions)
{
    QZRandom words(0);
    QZRandom halves(0);
    // At a multiple of 8, both widths read the same table entry; the short number is the low half of the
    // word.
    for (int i = 0; i < 512; ++i)
    {
        const int word = words.NextQZInt32();
        const short half = halves.NextQZInt16();
        if (i % 8 < 2)
        {
            EXPECT_EQ(half, static_cast<short>(word)) << i;
        }
        else if (i % 8 == 2 || i % 8 == 3)
        {
            EXPECT_EQ(half, static_cast<short>(word >> 16)) << i;
        }
    }
}

TEST(Random, BothWidthsShareOnePosition)
{
    QZRandom mixed(0);
    const std::vector<int> all = Draws(0, 4);
    mixed.NextQZInt16();
    EXPECT_EQ(mixed.NextQZInt32(), all[1]);
    mixed.NextQZInt32(0, 7);
    EXPECT_EQ(mixed.NextQZInt32(), all[3]);
}

TEST(Random, RangesAddTheRemainderToTheLowerBound)
{
    QZRandom plain(3);
    QZRandom ranged(3);
    for (int i = 0; i < 200; ++i)
    {
        const int value = plain.NextQZInt32();
        EXPECT_EQ(ranged.NextQZInt32(100, 110), 100 + value % 10);
    }
    QZRandom plain16(3);
    QZRandom ranged16(3);
    for (int i = 0; i < 200; ++i)
    {
        const short value = plain16.NextQZInt16();
        EXPECT_EQ(ranged16.NextQZInt16(-5, 20), value % 25 - 5);
    }
}

TEST(Random, RangesMayGoBelowTheLowerBoundButNeverReachTheUpper)
{
    QZRandom random(0);
    bool below = false;
    for (int i = 0; i < 256; ++i)
    {
        const int value = random.NextQZInt32(0, 360);
        EXPECT_LT(value, 360);
        EXPECT_GT(value, -360);
        below = below || value < 0;
    }
    EXPECT_TRUE(below);
}

TEST(Random, WideAndReversedRangesWrap)
{
    QZRandom plain(9);
    QZRandom ranged(9);
    for (int i = 0; i < 64; ++i)
    {
        // The difference is -1 in 32 bits, so the remainder is 0.
        plain.NextQZInt32();
        EXPECT_EQ(ranged.NextQZInt32(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()),
                  std::numeric_limits<int>::min());
        const int value = plain.NextQZInt32();
        EXPECT_EQ(ranged.NextQZInt32(50, 40), 50 + value % 10);
    }
}

TEST(Random, EqualBoundsThrowAndDrawNothing)
{
    QZRandom random(0);
    EXPECT_QZ_THROW(random.NextQZInt32(4, 4), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_QZ_THROW(random.NextQZInt16(4, 4), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_EQ(random.NextQZInt32(), Draws(0, 1)[0]);
}
