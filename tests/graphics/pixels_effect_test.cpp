#include <algorithm>

#include "codec/cod_math.h"
#include "codec/cod_random.h"
#include "graphics/gr_pixels.h"
#include "graphics/pixel_show.h"
#include "support/qz_test.h"

namespace
{

using qztest::BlockOf;
using qztest::Own;
using qztest::PixelsOf;
using qztest::Rows;

const Rows kSmall{{1, 2, 3}, {4, 5, 6}};

TEST(PixelRotate, QuarterTurnsAreExact)
{
    auto block = BlockOf(kSmall);
    EXPECT_EQ(PixelsOf(Own(block->Rotate(0.0F))), kSmall);
    EXPECT_EQ(PixelsOf(Own(block->Rotate(90.0F))), (Rows{{3, 6}, {2, 5}, {1, 4}}));
    EXPECT_EQ(PixelsOf(Own(block->Rotate(180.0F))), (Rows{{6, 5, 4}, {3, 2, 1}}));
    EXPECT_EQ(PixelsOf(Own(block->Rotate(270.0F))), (Rows{{4, 1}, {5, 2}, {6, 3}}));
    EXPECT_EQ(PixelsOf(block), kSmall);
}

TEST(PixelRotate, AngleIsTruncatedToWholeDegreesForQuarterTurns)
{
    auto block = BlockOf(kSmall);
    EXPECT_EQ(PixelsOf(Own(block->Rotate(360.0F))), kSmall);
    EXPECT_EQ(PixelsOf(Own(block->Rotate(-720.0F))), kSmall);
    EXPECT_EQ(PixelsOf(Own(block->Rotate(-0.9F))), kSmall);
    EXPECT_EQ(PixelsOf(Own(block->Rotate(90.7F))), (Rows{{3, 6}, {2, 5}, {1, 4}}));
    EXPECT_EQ(PixelsOf(Own(block->Rotate(-90.0F))), (Rows{{4, 1}, {5, 2}, {6, 3}}));
}

const Rows kSquare{{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}};
const Rows kSquareAt45{
    {0, 0, 4, 0, 0}, {0, 2, 7, 8, 0}, {1, 6, 0, 11, 16}, {0, 9, 10, 15, 0}, {0, 0, 13, 0, 0}};

TEST(PixelRotate, OtherAnglesDoNotWriteCornersAndCentre)
{
    EXPECT_EQ(PixelsOf(Own(BlockOf(kSquare)->Rotate(45.0F))), kSquareAt45);
}

TEST(PixelRotate, OtherAnglesEnlargeTheBlock)
{
    QZPixelBlock block(100, 50);
    auto turned = Own(block.Rotate(30.0F));
    EXPECT_EQ(turned->GetWidth(), 111);
    EXPECT_EQ(turned->GetHeight(), 93);
    auto back = Own(block.Rotate(-150.0F));
    EXPECT_EQ(back->GetWidth(), 111);
    EXPECT_EQ(back->GetHeight(), 93);
}

TEST(PixelRotate, RotateThisTurnsTheBlockItself)
{
    auto block = BlockOf(kSmall);
    const QZSize* size = block->GetSize();
    block->RotateThis(90.0F);
    EXPECT_EQ(PixelsOf(block), (Rows{{3, 6}, {2, 5}, {1, 4}}));
    EXPECT_EQ(block->GetSize(), size);
    EXPECT_EQ(size->GetWidth(), 2);
    EXPECT_EQ(size->GetHeight(), 3);
    EXPECT_TRUE(block->Check());
    block->SetPixel(1, 2, 9);
    EXPECT_EQ(block->GetPixel(1, 2), 9u);
    auto square = BlockOf(kSquare);
    square->RotateThis(45.0F);
    EXPECT_EQ(PixelsOf(square), kSquareAt45);
}

TEST(PixelRotate, EmptyBlocksStayEmpty)
{
    QZPixelBlock block;
    EXPECT_EQ(Own(block.Rotate(90.0F))->GetDataSize(), 0);
    EXPECT_EQ(Own(block.Rotate(33.0F))->GetDataSize(), 0);
    block.RotateThis(180.0F);
    EXPECT_EQ(block.GetWidth(), 0);
}

TEST(PixelFrosted, TransparentPixelsBecomeZeroAndPlainColourIsKept)
{
    auto clear = BlockOf({{0x00123456, 0x00FFFFFF}, {1, 2}});
    EXPECT_EQ(PixelsOf(Own(clear->FrostedEffect(1, 4, 5))), (Rows{{0, 0}, {0, 0}}));
    auto plain = BlockOf({{0x80123456, 0x80123456}});
    EXPECT_EQ(PixelsOf(Own(plain->FrostedEffect(0, 9, 3))), (Rows{{0x80123456, 0x80123456}}));
}

TEST(PixelFrosted, OnlyBothInvalidArgumentsTogetherThrow)
{
    auto block = BlockOf({{0xFF000001}});
    EXPECT_QZ_THROW(block->FrostedEffect(5, 4, 0), 256);
    EXPECT_QZ_THROW(block->FrostedEffect(5, 4, -1), 256);
    EXPECT_EQ(PixelsOf(Own(block->FrostedEffect(4, 5, 0))), (Rows{{0}}));
    EXPECT_EQ(PixelsOf(Own(block->FrostedEffect(5, 4, 1))), (Rows{{0xFF000001}}));
    // With equal radii the range of random numbers is empty.
    EXPECT_QZ_THROW(block->FrostedEffect(4, 4, 1), 256);
}

TEST(PixelFrosted, SamplesAreWeightedByAlpha)
{
    const Rows rows{{0xFF102030, 0x80FF00FF, 0x00FFFFFF}, {0x40010203, 0xFFA0B0C0, 0x7F7F7F7F}};
    constexpr int kSamples = 4;
    QZRandom random(0);
    Rows expected(2, std::vector<unsigned int>(3));
    for (int y = 0; y < 2; ++y)
    {
        for (int x = 0; x < 3; ++x)
        {
            unsigned int alpha = 0;
            unsigned int red = 0;
            unsigned int green = 0;
            unsigned int blue = 0;
            for (int i = 0; i < kSamples; ++i)
            {
                const int radius = random.NextQZInt32(1, 3);
                const float angle = random.NextQZInt32(0, 360) * 0.017453292F;
                const int fromY = static_cast<int>(y + QZMath::Sin(angle) * radius);
                const int fromX = static_cast<int>(x + QZMath::Cos(angle) * radius);
                const unsigned int pixel = rows[std::clamp(fromY, 0, 1)][std::clamp(fromX, 0, 2)];
                const unsigned int a = pixel / 0x1000000;
                alpha += a;
                red += pixel / 0x10000 % 256 * a;
                green += pixel / 0x100 % 256 * a;
                blue += pixel % 256 * a;
            }
            if (alpha == 0) continue;
            expected[y][x] =
                alpha / kSamples * 0x1000000 + red / alpha * 0x10000 + green / alpha * 0x100 + blue / alpha;
        }
    }
    auto block = BlockOf(rows);
    EXPECT_EQ(PixelsOf(Own(block->FrostedEffect(1, 3, kSamples))), expected);
    EXPECT_EQ(PixelsOf(Own(block->FrostedEffect(1, 3, kSamples))), expected);
    EXPECT_EQ(PixelsOf(block), rows);
}

}  // namespace
