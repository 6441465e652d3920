#include "graphics/gr_pixels.h"

#include "../fw/assert_watch.h"
#include "fw/fw_library.h"
#include "graphics/pixel_show.h"
#include "support/qz_test.h"

namespace
{

using qztest::BlockOf;
using qztest::Own;
using qztest::PixelsOf;
using qztest::Rows;

TEST(PixelBlock, BufferIsARowTableAndThePixels)
{
    QZPixelBlock block(3, 2);
    const QZData& data = block;
    EXPECT_EQ(data.GetSize(), 8 * 2 + 4 * 3 * 2);
    EXPECT_EQ(block.GetDataSize(), 24);
    auto* buffer = static_cast<unsigned char*>(data.GetPointer());
    EXPECT_EQ(block.GetPointer(), buffer + 16);
    auto** rows = static_cast<unsigned char**>(data.GetPointer());
    EXPECT_EQ(rows[0], buffer + 16);
    EXPECT_EQ(rows[1], buffer + 16 + 12);
    EXPECT_EQ(block.GetType(), 0x81FFFF3);
    EXPECT_EQ(QZPixelBlock::Type, 0x81FFFF3);
}

TEST(PixelBlock, DefaultBlockIsEmptyWithRoomFor128By128)
{
    QZPixelBlock block;
    const QZData& data = block;
    EXPECT_EQ(data.GetSize(), 8 * 128 + 4 * 128 * 128);
    EXPECT_EQ(block.GetWidth(), 0);
    EXPECT_EQ(block.GetHeight(), 0);
    EXPECT_EQ(block.GetSize()->GetWidth(), 0);
    EXPECT_EQ(block.GetDataSize(), 0);
    EXPECT_EQ(block.GetPixel(0, 0), 0u);
}

TEST(PixelBlock, OwnsALockedSizeObject)
{
    QZPixelBlock block(5, 4);
    EXPECT_EQ(block.GetSize()->GetWidth(), 5);
    EXPECT_EQ(block.GetSize()->GetHeight(), 4);
    EXPECT_FALSE(block.GetSize()->IsDisposable());
    EXPECT_EQ(block.GetSize(), block.GetSize());
}

TEST(PixelBlock, NegativeSizeThrows)
{
    QZLastError = 0;
    EXPECT_QZ_THROW(QZPixelBlock(-1, 5), 4352);
    EXPECT_QZ_THROW(QZPixelBlock(5, -1), 4352);
    QZLastError = 0;
}

TEST(PixelBlock, SetPixelLeavesFirstRowAndColumnAlone)
{
    QZPixelBlock block(4, 8);
    block.Fill(0xFF000000);
    block.SetColor(0xFFFFFFFF);
    block.SetPixel(0, 5, 1);
    block.SetPixel(2, 0, 1);
    block.SetPixel(0, 5);
    block.SetPixel(2, 0);
    block.SetPixel(4, 1, 1);
    block.SetPixel(1, 8, 1);
    block.SetPixel(-1, -1, 1);
    for (const auto& row : PixelsOf(block))
        EXPECT_EQ(row, (std::vector<unsigned int>{0xFF000000, 0xFF000000, 0xFF000000, 0xFF000000}));
    block.SetPixel(1, 1, 7);
    block.SetPixel(3, 7);
    EXPECT_EQ(block.GetPixel(1, 1), 7u);
    EXPECT_EQ(block.GetPixel(3, 7), 0xFFFFFFFFu);
}

TEST(PixelBlock, GetPixelReadsTheFirstRowAndIsZeroOutside)
{
    auto block = BlockOf({{1, 2}, {3, 4}});
    EXPECT_EQ(block->GetPixel(0, 0), 1u);
    EXPECT_EQ(block->GetPixel(1, 0), 2u);
    EXPECT_EQ(block->GetPixel(0, 1), 3u);
    EXPECT_EQ(block->GetPixel(2, 0), 0u);
    EXPECT_EQ(block->GetPixel(0, 2), 0u);
    EXPECT_EQ(block->GetPixel(-1, 0), 0u);
    EXPECT_EQ(block->GetPixel(0, -1), 0u);
}

TEST(PixelBlock, PenFromThreeBytesIsOpaque)
{
    QZPixelBlock block(2, 2);
    block.SetColor(0x12, 0x34, 0x56);
    EXPECT_EQ(block.GetColor(), 0xFF123456u);
    block.SetColor(0x01020304);
    EXPECT_EQ(block.GetColor(), 0x01020304u);
}

TEST(PixelBlock, ClearSetsAllPixelsToZero)
{
    auto block = BlockOf({{1, 2}, {3, 4}});
    QZData& data = *block;
    data.Clear();
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0}, {0, 0}}));
    EXPECT_EQ(block->GetWidth(), 2);
}

TEST(PixelBlock, FillWritesTheFirstRowAndColumn)
{
    QZPixelBlock block(3, 3);
    block.Fill(9);
    block.Fill(0, 0, 2, 2, 0);
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0, 9}, {0, 0, 9}, {9, 9, 9}}));
    block.Fill(2, 1, 5, 5, 4);
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0, 9}, {0, 0, 4}, {9, 9, 4}}));
    block.Fill(3, 0, 1, 1, 5);
    block.Fill(7, 0, 1, 1, 5);
    block.Fill(0, 0, -1, 2, 5);
    block.Fill(0, 0, 2, -1, 5);
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0, 9}, {0, 0, 4}, {9, 9, 4}}));
    block.Fill(0);
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}));
}

TEST(PixelBlock, FillPastTheBottomWrapsToTheTop)
{
    QZPixelBlock block(3, 10);
    block.Fill(0, 13, 2, 2, 7);
    Rows expected(10, {0, 0, 0});
    expected[3] = expected[4] = {7, 7, 0};
    EXPECT_EQ(PixelsOf(block), expected);
    // At the bottom edge nothing wraps and no row is filled.
    block.Fill(0, 10, 3, 3, 8);
    EXPECT_EQ(PixelsOf(block), expected);
}

TEST(PixelBlock, FillWithNegativeXKeepsItsWidth)
{
    QZPixelBlock block(4, 2);
    block.Fill(-2, 0, 2, 1, 7);
    EXPECT_EQ(PixelsOf(block), (Rows{{7, 7, 0, 0}, {0, 0, 0, 0}}));
    block.Fill(-2, 0, 6, 1, 8);
    EXPECT_EQ(PixelsOf(block), (Rows{{8, 8, 8, 8}, {8, 8, 0, 0}}));
    block.Fill(-2147483647 - 1, -2147483647 - 1, 2147483647, 2147483647, 9);
    EXPECT_EQ(PixelsOf(block), (Rows{{9, 9, 9, 9}, {9, 9, 9, 9}}));
    block.Fill(2147483647, 0, 2147483647, 2147483647, 1);
    EXPECT_EQ(PixelsOf(block), (Rows{{9, 9, 9, 9}, {9, 9, 9, 9}}));
}

TEST(PixelBlock, SetAlphaChangesOnlyAlpha)
{
    auto block = BlockOf({{0x11223344, 0xFF000000}});
    block->SetAlpha(0x80);
    EXPECT_EQ(PixelsOf(block), (Rows{{0x80223344, 0x80000000}}));
}

TEST(PixelBlock, SetColorToAlphaSkipsThreePixels)
{
    auto block = BlockOf({{0xFF0000FF, 0xFF0000FF, 0xFF0000FF}, {0xFF0000FF, 0x12345610, 0}});
    block->SetColorToAlpha(0xFF);
    EXPECT_EQ(PixelsOf(block),
              (Rows{{0xFF0000FF, 0xFF0000FF, 0xFF0000FF}, {0x000000FF, 0xEF345610, 0xFF000000}}));
    EXPECT_TRUE(block->Check());
    QZPixelBlock small(1, 2);
    small.SetColorToAlpha(0xFF);
    EXPECT_EQ(PixelsOf(small), (Rows{{0}, {0}}));
}

TEST(PixelBlock, SetColorToAlphaOfOtherMasksHasACarry)
{
    auto block = BlockOf({{0, 0, 0, 0x00001200}});
    block->SetColorToAlpha(0xFF00);
    EXPECT_EQ(block->GetPixel(3, 0), 0xEEFF1200u);
    block = BlockOf({{0, 0, 0, 0x00120000}});
    block->SetColorToAlpha(0xFF0000);
    EXPECT_EQ(block->GetPixel(3, 0), 0xEE12FF00u);
    block = BlockOf({{0, 0, 0, 0x12345678}});
    block->SetColorToAlpha(0);
    EXPECT_EQ(block->GetPixel(3, 0), 0x00345777u);
}

TEST(PixelBlock, CopiesCopyThePixels)
{
    auto block = BlockOf({{1, 2}, {3, 4}});
    block->SetColor(5u);
    QZPixelBlock copy(block.get());
    block->Fill(0);
    EXPECT_EQ(PixelsOf(copy), (Rows{{1, 2}, {3, 4}}));
    EXPECT_NE(copy.GetObjectID(), block->GetObjectID());

    QZPixelBlock deep(copy);
    copy.Fill(9);
    EXPECT_EQ(PixelsOf(deep), (Rows{{1, 2}, {3, 4}}));
    EXPECT_NE(deep.GetSize(), copy.GetSize());

    QZPixelBlock assigned(7, 7);
    assigned = deep;
    deep.Fill(8);
    EXPECT_EQ(PixelsOf(assigned), (Rows{{1, 2}, {3, 4}}));
    EXPECT_EQ(assigned.GetSize()->GetWidth(), 2);
    assigned.SetPixel(1, 1, 6);
    EXPECT_EQ(assigned.GetPixel(1, 1), 6u);
}

TEST(PixelBlock, SetCopiesSizeAndPixels)
{
    auto source = BlockOf({{1, 2, 3}});
    QZPixelBlock block(1, 5);
    const QZSize* size = block.GetSize();
    block.Set(source.get());
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2, 3}}));
    EXPECT_EQ(block.GetSize(), size);
    EXPECT_EQ(size->GetWidth(), 3);
    EXPECT_EQ(size->GetHeight(), 1);
    EXPECT_EQ(static_cast<QZData&>(block).GetSize(), 8 + 12);
    block.Set(&block);
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2, 3}}));
}

TEST(PixelBlock, RecycleDeletesAndClearsTheVariable)
{
    auto* block = new QZPixelBlock(2, 2);
    QZPixelBlock::Recycle(&block);
    EXPECT_EQ(block, nullptr);
    auto* data = new QZData(4);
    QZPixelBlock::Recycle(&data);
    EXPECT_EQ(data, nullptr);
    const qztest::AssertWatch watch;
    QZPixelBlock::Recycle(&block);
    QZPixelBlock::Recycle(&data);
    EXPECT_EQ(watch.Count(), 2);
}

TEST(PixelBlock, BrightWrapsAndSkipsTheFirstRowAndColumn)
{
    auto block = BlockOf({{0x80F0A09B, 0x80F0A09B}, {0x80F0A09B, 0x80F0A09B}});
    block->Bright();
    EXPECT_EQ(PixelsOf(block), (Rows{{0x80F0A09B, 0x80F0A09B}, {0x80F0A09B, 0x805404FF}}));
}

TEST(PixelBlock, SmoothTreatsTheNextRowAsTheRightNeighbour)
{
    auto block = BlockOf({{0, 200, 0}, {50, 100, 95}, {150, 255, 7}});
    block->Smooth(10, 5);
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 195, 5}, {55, 100, 95}, {145, 250, 12}}));
}

TEST(PixelBlock, SmoothDoesNotOverflowBytes)
{
    auto block = BlockOf({{9, 252, 9}, {249, 255, 255}, {255, 255, 9}});
    block->Smooth(0, 5);
    // 252 is too large to be increased, 249 is not. Pixels of the last column change their neighbours as
    // well.
    EXPECT_EQ(PixelsOf(block), (Rows{{9, 252, 14}, {254, 255, 255}, {255, 255, 14}}));
    auto dark = BlockOf({{0, 4, 0}, {0, 0, 0}, {0, 6, 0}});
    dark->Smooth(0, 5);
    EXPECT_EQ(PixelsOf(dark), (Rows{{0, 4, 0}, {0, 0, 0}, {0, 1, 0}}));
}

TEST(PixelBlock, SmoothChangesEachColourButNotAlpha)
{
    auto block = BlockOf({{0, 0xFF643200, 0}, {0, 0x00000064, 0}, {0, 0x10000064, 0}});
    block->Smooth(49, 10);
    EXPECT_EQ(block->GetPixel(1, 0), 0xFF5A280Au);
    EXPECT_EQ(block->GetPixel(1, 2), 0x10000064u);
}

TEST(PixelBlock, MosaicFillsEachCellWithItsMean)
{
    auto block = BlockOf({{0x01020304, 0x03040506, 0x10}, {0x05060708, 0x0708090B, 0x13}});
    block->Mosaic(2);
    EXPECT_EQ(PixelsOf(block), (Rows{{0x04050607, 0x04050607, 0x11}, {0x04050607, 0x04050607, 0x11}}));
}

TEST(PixelBlock, MosaicWithAnInvalidCellDoesNothing)
{
    const Rows rows{{1, 2, 3}, {4, 5, 6}};
    auto block = BlockOf(rows);
    for (int cell : {0, -1, 3, 4}) block->Mosaic(cell);
    const QZRectangle whole(0, 0, 3, 2);
    const QZRectangle left(-1, 0, 3, 2);
    const QZRectangle wide(1, 0, 3, 2);
    const QZRectangle deep(0, 1, 3, 2);
    block->Mosaic(&whole, 0);
    block->Mosaic(&whole, 3);
    block->Mosaic(&left, 2);
    block->Mosaic(&wide, 2);
    block->Mosaic(&deep, 2);
    EXPECT_EQ(PixelsOf(block), rows);
}

TEST(PixelBlock, MosaicUsesWidthAndHeightAsTheEnd)
{
    Rows rows(30, std::vector<unsigned int>(30));
    for (unsigned int y = 0; y < 30; ++y)
        for (unsigned int x = 0; x < 30; ++x) rows[y][x] = x;
    auto block = BlockOf(rows);
    const QZRectangle area(10, 10, 20, 20);
    block->Mosaic(&area, 10);
    // The cell from 10 to 19 has the mean 14. Pixels from 20 on are in the area, but do not change.
    for (unsigned int y = 10; y < 20; ++y)
        for (unsigned int x = 10; x < 20; ++x) rows[y][x] = 14;
    EXPECT_EQ(PixelsOf(block), rows);
}

TEST(PixelBlock, MosaicCellsAreNotClippedByTheArea)
{
    auto block = BlockOf({{9, 9, 9, 9, 9}, {9, 0, 0, 6, 9}, {9, 0, 0, 6, 9}, {9, 6, 6, 12, 9}});
    const QZRectangle area(1, 1, 3, 3);
    block->Mosaic(&area, 3);
    EXPECT_EQ(PixelsOf(block), (Rows{{9, 9, 9, 9, 9}, {9, 4, 4, 4, 9}, {9, 4, 4, 4, 9}, {9, 4, 4, 4, 9}}));
    auto other = BlockOf({{0, 2, 9}, {4, 6, 9}, {9, 9, 9}});
    const QZRectangle inner(1, 1, 2, 2);
    other->Mosaic(&inner, 2);
    EXPECT_EQ(PixelsOf(other), (Rows{{0, 2, 9}, {4, 8, 8}, {9, 8, 8}}));
}

TEST(PixelBlock, FlipVerticalReversesTheRows)
{
    auto block = BlockOf({{1, 2}, {3, 4}, {5, 6}});
    EXPECT_EQ(PixelsOf(Own(block->FlipVertical())), (Rows{{5, 6}, {3, 4}, {1, 2}}));
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2}, {3, 4}, {5, 6}}));
}

}  // namespace
