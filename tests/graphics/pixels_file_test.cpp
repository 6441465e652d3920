#include "fw/fw_library.h"
#include "fw/fw_string_factory.h"
#include "graphics/gr_pixels.h"
#include "graphics/gr_pixels_grid.h"
#include "graphics/pixel_show.h"
#include "support/qz_test.h"

namespace
{

using qztest::BlockOf;
using qztest::Own;
using qztest::PixelsOf;
using qztest::Rows;
using qztest::TempDir;

const char* const kBin =
    "00 01 00 08 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
    "02 00 00 00 00 00 00 00  01 00 00 00 00 00 00 00  08 00 00 00 00 00 00 00"
    "44 33 22 11 88 77 66 55";

const char* const kBitmap =
    "42 4D 3E 00 00 00 00 00 00 00 36 00 00 00"
    "28 00 00 00 01 00 00 00 02 00 00 00 01 00 20 00"
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
    "88 77 66 55 44 33 22 11";

TEST(PixelFile, BinFileIsSevenWordsAndThePixels)
{
    const TempDir dir;
    QZString path(dir.Name("a.bin").c_str());
    auto block = BlockOf({{0x11223344, 0x55667788}});
    EXPECT_EQ(block->ToFileBin(&path), 1);
    EXPECT_EQ(qztest::Hex(dir.Read("a.bin")), qztest::Hex(qztest::Bytes(kBin)));
    EXPECT_EQ(PixelsOf(Own(QZPixelBlock::FromFileBin(&path))), (Rows{{0x11223344, 0x55667788}}));
    EXPECT_QZ_THROW(block->ToFileBin(&path), 6400);
}

TEST(PixelFile, BitmapStartsWithTheBottomRow)
{
    auto block = BlockOf({{0x11223344}, {0x55667788}});
    QZData* data = block->ToFileBitmap();
    EXPECT_BYTES(data->GetPointer(), data->GetSize(), kBitmap);
    QZPixelBlock::Recycle(&data);
    const TempDir dir;
    QZString path(dir.Name("a.bmp").c_str());
    EXPECT_EQ(block->ToFileBitmap(&path), 62);
    EXPECT_EQ(qztest::Hex(dir.Read("a.bmp")), qztest::Hex(qztest::Bytes(kBitmap)));
    EXPECT_QZ_THROW(block->ToFileBitmap(&path), 6400);
}

TEST(PixelFile, BitmapReadBackIsUpsideDown)
{
    const TempDir dir;
    QZString path(dir.Name("a.bmp").c_str());
    BlockOf({{1, 2}, {3, 4}})->ToFileBitmap(&path);
    auto block = Own(QZPixelBlock::FromFileBitmap32(&path));
    EXPECT_EQ(PixelsOf(block), (Rows{{3, 4}, {1, 2}}));
    QZString again(dir.Name("b.bmp").c_str());
    block->ToFileBitmap(&again);
    EXPECT_EQ(PixelsOf(Own(QZPixelBlock::FromFileBitmap32(&again))), (Rows{{1, 2}, {3, 4}}));
}

TEST(PixelFile, BitmapPixelsAreReadAtTheOffsetInTheHeader)
{
    const TempDir dir;
    std::string bytes = qztest::Bytes(kBitmap);
    bytes[0] = 'X';
    bytes[10] = 58;
    bytes[28] = 1;
    dir.Write("a.bmp", bytes);
    QZString path(dir.Name("a.bmp").c_str());
    EXPECT_EQ(PixelsOf(Own(QZPixelBlock::FromFileBitmap32(&path))), (Rows{{0x11223344}, {0}}));
}

TEST(PixelFile, MissingFilesThrow)
{
    const TempDir dir;
    QZString path(dir.Name("none").c_str());
    EXPECT_QZ_THROW(QZPixelBlock::FromFileBitmap32(&path), 4096);
    EXPECT_QZ_THROW(QZPixelBlock::FromFileBin(&path), 4096);
}

TEST(PixelFile, DamagedHeadersReadOnlyTheBytesOfTheFile)
{
    const TempDir dir;
    std::string bytes = qztest::Bytes(kBin);
    bytes[0] = 0;
    bytes[48] = 127;
    bytes[50] = 127;
    dir.Write("long.bin", bytes + std::string(100, 'x'));
    QZString longer(dir.Name("long.bin").c_str());
    EXPECT_EQ(PixelsOf(Own(QZPixelBlock::FromFileBin(&longer))), (Rows{{0x11223344, 0x55667788}}));
    bytes[48] = 4;
    bytes[50] = 0;
    dir.Write("count.bin", bytes);
    QZString count(dir.Name("count.bin").c_str());
    EXPECT_EQ(PixelsOf(Own(QZPixelBlock::FromFileBin(&count))), (Rows{{0x11223344, 0}}));
    dir.Write("short.bin", bytes.substr(0, 36));
    QZString shorter(dir.Name("short.bin").c_str());
    EXPECT_EQ(Own(QZPixelBlock::FromFileBin(&shorter))->GetHeight(), 0);
    std::string bitmap = qztest::Bytes(kBitmap);
    bitmap[25] = '\xFF';
    dir.Write("negative.bmp", bitmap);
    QZString negative(dir.Name("negative.bmp").c_str());
    QZLastError = 0;
    EXPECT_QZ_THROW(QZPixelBlock::FromFileBitmap32(&negative), 4352);
    QZLastError = 0;
}

std::string Show(const QZRectangle* r)
{
    if (r == nullptr) return "none";
    return std::to_string(r->GetX()) + "," + std::to_string(r->GetY()) + " " + std::to_string(r->GetWidth()) +
           "x" + std::to_string(r->GetHeight());
}

TEST(Rectangles, CellsAreFoundByColumnAndRow)
{
    QZRectangles grid(5, 6, 3, 2, 10);
    EXPECT_EQ(grid.GetType(), 0x81FFFF4);
    EXPECT_EQ(grid.GetWidth(), 3);
    EXPECT_EQ(grid.GetHeight(), 2);
    EXPECT_EQ(Show(grid.GetRect(0, 0)), "5,6 10x10");
    EXPECT_EQ(Show(grid.GetRect(2, 1)), "25,16 10x10");
    EXPECT_EQ(Show(grid.GetRect(1, 2)), "none");
    EXPECT_EQ(Show(grid.GetRect(-1, 0)), "none");
    QZString* key = grid.CreateKey(3, 7);
    EXPECT_QZ_TEXT(key, "3_7");
    QZStringFactory::Recycle(&key);
}

TEST(Rectangles, PointFindsTheMirroredCell)
{
    QZRectangles grid(0, 0, 3, 3, 10);
    const QZPoint point(25, 5);
    EXPECT_EQ(Show(grid.GetRect(&point)), "0,20 10x10");
    const QZPoint far(1000, 1);
    EXPECT_EQ(Show(grid.GetRect(&far)), "0,20 10x10");
    QZRectangles flat(0, 0, 3, 2, 10);
    EXPECT_EQ(Show(flat.GetRect(&point)), "none");
    const QZPoint low(5, 15);
    EXPECT_EQ(Show(flat.GetRect(&low)), "10,0 10x10");
    QZRectangles moved(50, 50, 2, 2, 10);
    const QZPoint before(1, 65);
    EXPECT_EQ(Show(moved.GetRect(&before)), "60,50 10x10");
}

TEST(Rectangles, PointsBelowOneFindNothing)
{
    QZRectangles grid(-50, -50, 9, 9, 10);
    const QZPoint left(0, 5);
    const QZPoint top(5, 0);
    EXPECT_EQ(grid.GetRect(&left), nullptr);
    EXPECT_EQ(grid.GetRect(&top), nullptr);
    const QZPoint point(5, 5);
    EXPECT_EQ(QZRectangles(0, 0, 0, 5, 10).GetRect(&point), nullptr);
    EXPECT_EQ(QZRectangles(0, 0, 5, 0, 10).GetRect(&point), nullptr);
    EXPECT_EQ(QZRectangles(0, 0, 2, 2, 0).GetRect(&point), nullptr);
}

TEST(Rectangles, SelectOfAMissingCellKeepsTheSelection)
{
    QZRectangles grid(0, 0, 3, 2, 10);
    EXPECT_EQ(grid.GetSelected(), nullptr);
    EXPECT_TRUE(grid.Select(1, 1));
    EXPECT_EQ(Show(grid.GetSelected()), "10,10 10x10");
    EXPECT_FALSE(grid.Select(3, 0));
    const QZPoint nothing(25, 5);
    EXPECT_FALSE(grid.Select(&nothing));
    EXPECT_EQ(Show(grid.GetSelected()), "10,10 10x10");
    const QZPoint first(5, 5);
    EXPECT_TRUE(grid.Select(&first));
    EXPECT_EQ(Show(grid.GetSelected()), "0,0 10x10");
}

TEST(Rectangles, CopiesShareTheCells)
{
    auto grid = std::make_unique<QZRectangles>(0, 0, 2, 2, 10);
    QZRectangles copy(*grid);
    EXPECT_EQ(copy.GetRect(1, 0), grid->GetRect(1, 0));
    grid.reset();
    EXPECT_EQ(Show(copy.GetRect(1, 0)), "10,0 10x10");
}

}  // namespace
