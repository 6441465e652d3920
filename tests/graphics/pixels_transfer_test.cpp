#include <cstring>

#include "../fw/assert_watch.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"
#include "graphics/gr_pixels.h"
#include "graphics/pixel_show.h"
#include "support/qz_test.h"

namespace
{

using qztest::BlockOf;
using qztest::Own;
using qztest::PixelsOf;
using qztest::Rows;

TEST(PixelTransfer, CopyHasTheRequestedSizePastTheEndOfTheSource)
{
    auto block = BlockOf({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(PixelsOf(Own(block->Copy(1, 0, 2, 2))), (Rows{{2, 3}, {5, 6}}));
    EXPECT_EQ(PixelsOf(Own(block->Copy(2, 1, 2, 2))), (Rows{{6, 0}, {0, 0}}));
    const QZRectangle area(0, 1, 1, 1);
    EXPECT_EQ(PixelsOf(Own(block->Copy(&area))), (Rows{{4}}));
}

TEST(PixelTransfer, CopyWithNegativeXShiftsAndBelowTheBottomWraps)
{
    auto block = BlockOf({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(PixelsOf(Own(block->Copy(-1, 0, 2, 1))), (Rows{{1, 2}}));
    EXPECT_EQ(PixelsOf(Own(block->Copy(0, 3, 2, 1))), (Rows{{4, 5}}));
    EXPECT_EQ(PixelsOf(Own(block->Copy(0, 2, 2, 1))), (Rows{{0, 0}}));
    EXPECT_EQ(PixelsOf(Own(block->Copy(-1, 0, 4, 1))), (Rows{{1, 2, 3, 4}}));
    QZLastError = 0;
    EXPECT_QZ_THROW(block->Copy(0, 0, -1, 1), 4352);
    QZLastError = 0;
}

TEST(PixelTransfer, PasteOverwritesWhereItFits)
{
    QZPixelBlock block(4, 3);
    auto source = BlockOf({{1, 2}, {3, 4}});
    EXPECT_TRUE(block.Paste(3, 2, source.get(), 1));
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}}));
    EXPECT_FALSE(block.Paste(4, 0, source.get(), 1));
    EXPECT_FALSE(block.Paste(0, 3, source.get(), 1));
    EXPECT_TRUE(block.Paste(0, 4, source.get(), 1));
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0, 0, 0}, {1, 2, 0, 0}, {3, 4, 0, 1}}));
}

TEST(PixelTransfer, PasteWithNegativeXShiftsTheWholeSource)
{
    QZPixelBlock block(5, 2);
    auto source = BlockOf({{1, 2, 3}});
    EXPECT_TRUE(block.Paste(-4, -1, source.get(), 1));
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2, 3, 0, 0}, {0, 0, 0, 0, 0}}));
    auto wide = BlockOf({{1, 2, 3, 4, 5, 6, 7}});
    EXPECT_TRUE(block.Paste(-2, 0, wide.get(), 1));
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2, 3, 4, 5}, {0, 0, 0, 0, 0}}));
}

TEST(PixelTransfer, PasteOfRawPixelsUsesTheAreaForSourceAndTarget)
{
    QZPixelBlock block(4, 4);
    const unsigned int pixels[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const QZRectangle area(1, 1, 2, 2);
    const QZSize size(3, 3);
    EXPECT_TRUE(block.Paste(&area, &size, pixels, 1));
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0, 0, 0}, {0, 5, 6, 0}, {0, 8, 9, 0}, {0, 0, 0, 0}}));
    const QZRectangle outside(3, 0, 1, 1);
    EXPECT_FALSE(block.Paste(&outside, &size, pixels, 1));
}

TEST(PixelTransfer, BlendUsesTheAlphaOfTheSource)
{
    auto block = BlockOf({{0x4000FF80, 0x4000FF80, 0x40123456, 0x00FF00FF, 0xFFFFFFFF}});
    auto source = BlockOf({{0x80FF0040, 0xFF010203, 0x00ABCDEF, 0xFF00FF00, 0x01000000}});
    EXPECT_TRUE(block->Paste(0, 0, source.get(), 0));
    // With full alpha an increased byte is one too small. With alpha 0 the alpha of the target is reduced by
    // one.
    EXPECT_EQ(PixelsOf(block), (Rows{{0x9F7F7F60, 0xFF000203, 0x3F123456, 0xFF00FE00, 0xFEFEFEFE}}));
}

/// Blends one pixel over another, byte by byte.
unsigned int BlendByBytes(unsigned int target, unsigned int source)
{
    const int alpha = static_cast<int>(source >> 24);
    unsigned int result = 0;
    for (int shift = 0; shift < 24; shift += 8)
    {
        const int d = static_cast<int>((target >> shift) % 256);
        const int s = static_cast<int>((source >> shift) % 256);
        result |= static_cast<unsigned int>((alpha * (s - d) + d * 256) / 256) << shift;
    }
    const int below = static_cast<int>(target >> 24);
    return result | static_cast<unsigned int>(alpha + (255 - alpha) * below / 256) << 24;
}

TEST(PixelTransfer, BlendOfEveryAlphaEqualsTheReference)
{
    for (unsigned int alpha = 0; alpha < 256; ++alpha)
    {
        QZPixelBlock block(52, 52);
        QZPixelBlock source(52, 52);
        auto* d = static_cast<unsigned int*>(block.GetPointer());
        auto* s = static_cast<unsigned int*>(source.GetPointer());
        std::vector<unsigned int> expected;
        for (unsigned int i = 0; i < 52 * 52; ++i)
        {
            const unsigned int below = i % 52 * 5;
            const unsigned int above = i / 52 * 5;
            d[i] = below << 24 | (255 - below) << 16 | below << 8 | below;
            s[i] = alpha << 24 | above << 16 | (255 - above) << 8 | above;
            expected.push_back(BlendByBytes(d[i], s[i]));
        }
        ASSERT_TRUE(block.Paste(0, 0, &source, 0));
        ASSERT_EQ(std::memcmp(d, expected.data(), expected.size() * 4), 0) << "alpha " << alpha;
    }
}

TEST(PixelTransfer, RowsOfAnyLengthAreBlendedCompletely)
{
    for (int width = 1; width <= 35; ++width)
    {
        QZPixelBlock block(40, 1);
        block.Fill(0x11223344);
        QZPixelBlock source(width, 1);
        source.Fill(0x80FFFFFF);
        ASSERT_TRUE(block.Paste(3, 0, &source, 0));
        for (int x = 0; x < 40; ++x)
        {
            const bool covered = x >= 3 && x < 3 + width;
            ASSERT_EQ(block.GetPixel(x, 0), covered ? 0x889099A1U : 0x11223344U) << width << " " << x;
        }
    }
}

TEST(PixelTransfer, BlockBlendedIntoItselfReadsBlendedPixels)
{
    Rows rows{{}};
    for (unsigned int x = 0; x < 20; ++x) rows[0].push_back(0x80000000U | x * 12);
    auto block = BlockOf(rows);
    auto& row = rows[0];
    // The blend goes from right to left, so each pixel uses the blended pixel to its right.
    for (int x = 18; x >= 0; --x) row[x] = BlendByBytes(row[x], row[x + 1]);
    const QZRectangle area(0, 0, 19, 1);
    const QZSize size(20, 1);
    const auto* pixels = static_cast<const unsigned int*>(block->GetPointer());
    // The source are the pixels of the block itself, beginning at the second one.
    EXPECT_TRUE(block->Paste(&area, &size, pixels + 1, 0));
    EXPECT_EQ(PixelsOf(block), rows);
}

TEST(PixelTransfer, BlockPastedIntoItselfMovesItsPixels)
{
    auto block = BlockOf({{1, 2, 3, 4}});
    EXPECT_TRUE(block->Paste(1, 0, block.get(), 1));
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 1, 2, 3}}));
}

TEST(PixelTransfer, BlockPastedIntoItselfOneRowLowerRepeatsItsFirstRow)
{
    // Rows are pasted from top to bottom, so each row is read after the row above was written.
    for (unsigned char overwrite : {0, 1})
    {
        auto block = BlockOf({{0xFF000001, 0xFF000002}, {0xFF000003, 0xFF000004}, {0xFF000005, 0xFF000006}});
        EXPECT_TRUE(block->Paste(0, 1, block.get(), overwrite));
        const Rows rows{{0xFF000001, 0xFF000002}, {0xFF000001, 0xFF000002}, {0xFF000001, 0xFF000002}};
        EXPECT_EQ(PixelsOf(*block), rows) << int{overwrite};
    }
}

TEST(PixelTransfer, WholeRowsAreClippedAtTheBottom)
{
    for (unsigned char overwrite : {0, 1})
    {
        QZPixelBlock block(2, 3);
        auto source = BlockOf({{1, 2}, {3, 4}, {5, 6}});
        EXPECT_TRUE(block.Paste(0, 1, source.get(), overwrite));
        EXPECT_EQ(PixelsOf(block),
                  overwrite ? (Rows{{0, 0}, {1, 2}, {3, 4}}) : (Rows{{0, 0}, {0, 0}, {0, 0}}));
    }
}

TEST(PixelTransfer, RowsThatBeginAboveTheBlockAreClippedAtItsEnd)
{
    QZPixelBlock block(2, 2);
    const unsigned int pixels[6] = {1, 2, 3, 4, 5, 6};
    const QZSize size(2, 3);
    const QZRectangle area(0, -1, 2, 3);
    EXPECT_TRUE(block.Paste(&area, &size, pixels, 1));
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2}, {3, 4}}));
}

int g_copies = 0;
void (*g_copy)(void*, void*, QZInt64);

TEST(PixelTransfer, CopyHookIsCalledForEveryRow)
{
    QZPixelBlock block(2, 3);
    auto source = BlockOf({{1, 2}, {3, 4}, {5, 6}});
    g_copies = 0;
    g_copy = g_qzMemCopy;
    QZLibSetFunctionMemCopy([](void* to, void* from, QZInt64 size) {
        g_copies += size == 8;
        g_copy(to, from, size);
    });
    EXPECT_TRUE(block.Paste(0, 0, source.get(), 1));
    QZLibSetFunctionMemCopy(g_copy);
    EXPECT_EQ(g_copies, 3);
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2}, {3, 4}, {5, 6}}));
}

TEST(PixelTransfer, HugeAreasStayInsideTheBlocks)
{
    QZPixelBlock block(3, 2);
    const unsigned int pixels[4] = {1, 2, 3, 4};
    const QZSize size(2, 2);
    const QZRectangle area(-2147483647, -2147483647, 2147483647, 2147483647);
    EXPECT_TRUE(block.Paste(&area, &size, pixels, 1));
    // Rows of source and target continue to the last pixel.
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2, 3}, {3, 4, 0}}));
    const QZSize none(0, 0);
    block.Paste(&area, &none, pixels, 0);
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2, 3}, {3, 4, 0}}));
}

TEST(PixelResample, SameSizeIsACopy)
{
    auto block = BlockOf({{1, 2}, {3, 4}});
    EXPECT_EQ(PixelsOf(Own(block->Thumbnail(2, 2))), (Rows{{1, 2}, {3, 4}}));
    EXPECT_EQ(PixelsOf(Own(block->Thumbnail(4, 2))), (Rows{{1, 1, 2, 2}, {3, 3, 4, 4}}));
}

TEST(PixelResample, SkippedColumnsAreAveragedIntoTheSource)
{
    auto block = BlockOf({{1, 2, 3, 0x40, 0xFF000081, 6}});
    EXPECT_EQ(PixelsOf(Own(block->Thumbnail(3, 1))), (Rows{{1, 3, 0xFF000060}}));
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 2, 3, 0x40, 0xFF000060, 6}}));
}

TEST(PixelResample, SkippedRowsAreAveragedAlongTheRow)
{
    Rows rows(6, {0, 0, 0, 0, 0, 0});
    rows[0] = {1, 2, 3, 4, 5, 6};
    rows[2] = {7, 8, 9, 10, 11, 12};
    rows[4] = {0x10, 0x20, 0x30, 0x40, 0x80, 0x60};
    auto block = BlockOf(rows);
    EXPECT_EQ(PixelsOf(Own(block->Thumbnail(6, 3))),
              (Rows{{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}, {0x54, 0x58, 0x5C, 0x60, 0x70, 0x68}}));
    rows[4] = {0x54, 0x58, 0x5C, 0x60, 0x70, 0x68};
    EXPECT_EQ(PixelsOf(block), rows);
}

TEST(PixelResample, NarrowBlocksAreNotReadOutside)
{
    auto block = BlockOf({{1}, {2}, {3}, {4}, {5}, {6}});
    EXPECT_EQ(PixelsOf(Own(block->Thumbnail(1, 3))), (Rows{{1}, {3}, {5}}));
    QZPixelBlock empty;
    EXPECT_EQ(PixelsOf(Own(empty.Thumbnail(2, 1))), (Rows{{0, 0}}));
}

TEST(PixelResample, NewSizeResamplesThePixels)
{
    auto block = BlockOf({{1, 2}, {3, 4}});
    const QZSize* size = block->GetSize();
    block->NewSize(4, 1);
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 1, 2, 2}}));
    EXPECT_EQ(block->GetSize(), size);
    EXPECT_EQ(size->GetWidth(), 4);
    EXPECT_EQ(static_cast<QZData&>(*block).GetSize(), 8 + 16);
    EXPECT_TRUE(block->Check());
    const void* pointer = block->GetPointer();
    block->NewSize(4, 1);
    EXPECT_EQ(block->GetPointer(), pointer);
    QZLastError = 0;
    EXPECT_QZ_THROW(block->NewSize(-1, 1), 4352);
    QZLastError = 0;
    EXPECT_EQ(PixelsOf(block), (Rows{{1, 1, 2, 2}}));
}

}  // namespace
