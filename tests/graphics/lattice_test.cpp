#include "graphics/gr_lattice.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "../fw/assert_watch.h"
#include "fw/fw_data.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"

namespace
{

using Picture = std::vector<std::string>;
using Glyph = std::unique_ptr<QZData>;

constexpr QZInt64 kFileSize = 8388608;

/// Each test starts with a new font.
class Lattice : public ::testing::Test
{
protected:
    void SetUp() override { QZLatticeDispose(); }
    void TearDown() override { QZLatticeDispose(); }
};

/// A glyph as Save takes it: width, height, one byte per dot.
Glyph Draw(const Picture& rows)
{
    Glyph glyph = std::make_unique<QZData>(2 + static_cast<QZInt64>(rows.size() * rows[0].size()));
    auto* byte = static_cast<unsigned char*>(glyph->GetPointer());
    *byte++ = static_cast<unsigned char>(rows[0].size());
    *byte++ = static_cast<unsigned char>(rows.size());
    for (const std::string& row : rows)
        for (char dot : row) *byte++ = dot == '#';
    return glyph;
}

Picture PictureOf(const QZData& glyph)
{
    const auto* byte = static_cast<const unsigned char*>(glyph.GetPointer());
    Picture rows;
    for (int y = 0; y < byte[1]; ++y)
    {
        rows.emplace_back();
        for (int x = 0; x < byte[0]; ++x) rows.back() += byte[2 + y * byte[0] + x] ? '#' : '.';
    }
    return rows;
}

Picture PictureOf(unsigned short code) { return PictureOf(*Glyph(QZLattice::Load(code))); }

unsigned char* BytesOf(const Glyph& glyph) { return static_cast<unsigned char*>(glyph->GetPointer()); }

const Picture kA = {".###.", "#...#", "#...#", "#####", "#...#", "#...#", "#...#", "....."};

TEST_F(Lattice, LetterHasTheSizeOfItsGlyph)
{
    QZLattice letter(3, -4, 65);
    EXPECT_EQ(letter.GetSize()->GetWidth(), 5);
    EXPECT_EQ(letter.GetSize()->GetHeight(), 8);
    EXPECT_EQ(letter.GetLocation()->GetX(), 3);
    EXPECT_EQ(letter.GetLocation()->GetY(), -4);
    EXPECT_EQ(letter.GetCode(), 65u);
    EXPECT_EQ(letter.GetBaseline(), 0);
    EXPECT_EQ(letter.GetType(), 0x81FFFD0);
    EXPECT_EQ(QZLattice::Type, 0x81FFFD0);
    EXPECT_EQ(PictureOf(65), kA);
}

TEST_F(Lattice, EightDotsArePackedInAByteFirstDotHighest)
{
    QZLattice letter(0, 0, 65);
    // The 40 dots are .###. #...# #...# ##### #...# #...# #...# .....
    EXPECT_BYTES(letter.GetGlyph(), 8, "74 63 F8 C6 20 00 00 00");
}

TEST_F(Lattice, SetChangesLocationAndGlyphAndKeepsTheBaseline)
{
    QZLattice letter(1, 2, 65);
    letter.SetBaseline(20);
    letter.Set(7, 8, 64);
    EXPECT_EQ(letter.GetLocation()->GetX(), 7);
    EXPECT_EQ(letter.GetLocation()->GetY(), 8);
    EXPECT_EQ(letter.GetSize()->GetWidth(), 6);
    EXPECT_EQ(letter.GetCode(), 64u);
    EXPECT_EQ(letter.GetBaseline(), 20);
}

TEST_F(Lattice, BuiltInCodesRunFromBlankToBar)
{
    for (int code = 0; code < 65536; ++code)
    {
        const auto unit = static_cast<unsigned short>(code);
        QZLattice letter(0, 0, unit);
        const bool line = code == 9472 || code == 9474 || code == 9484 || code == 9488 || code == 9492 ||
                          code == 9496 || code == 9500 || code == 9508 || code == 9516 || code == 9524 ||
                          code == 9532;
        const bool known = (code >= 32 && code <= 124) || line || code == 41253;
        ASSERT_EQ(letter.GetCode(), known ? static_cast<unsigned>(code) : 41253u) << code;
        const int width = letter.GetSize()->GetWidth();
        ASSERT_EQ(letter.GetSize()->GetHeight(), 8) << code;
        if (letter.GetCode() == 41253)
            ASSERT_EQ(width, 8) << code;
        else
            ASSERT_TRUE(width == 5 || width == 6) << code;
    }
}

TEST_F(Lattice, BuiltInGlyphsAreAllDifferent)
{
    std::vector<unsigned short> codes = {9472, 9474, 9484, 9488, 9492, 9496,
                                         9500, 9508, 9516, 9524, 9532, 41253};
    for (unsigned short code = 33; code <= 124; ++code) codes.push_back(code);
    std::vector<Picture> seen = {Picture(8, ".....")};
    EXPECT_EQ(PictureOf(32), seen[0]);
    for (unsigned short code : codes)
    {
        const Picture picture = PictureOf(code);
        for (const Picture& other : seen) EXPECT_NE(picture, other) << code;
        seen.push_back(picture);
    }
}

TEST_F(Lattice, CodeZeroAndUndefinedCodesShowTheFallbackGlyph)
{
    const Picture fallback = {"########", "#..##..#", "#.#..#.#", "#....#.#",
                              "#...#..#", "#......#", "#...#..#", "########"};
    EXPECT_EQ(PictureOf(41253), fallback);
    for (unsigned short code : {0, 1, 31, 125, 126, 127, 0x4E2D, 65535})
    {
        QZLattice letter(0, 0, code);
        EXPECT_EQ(letter.GetCode(), 41253u);
        EXPECT_EQ(letter.GetSize()->GetWidth(), 8);
        EXPECT_EQ(letter.GetSize()->GetHeight(), 8);
        EXPECT_BYTES(letter.GetGlyph(), 8, "FF 99 A5 85 89 81 89 FF");
    }
}

// The sides of the cell that the strokes of a glyph touch: l, r, u, d.
std::string SidesOf(unsigned short code)
{
    const Picture rows = PictureOf(code);
    std::string sides;
    if (rows[3].front() == '#') sides += 'l';
    if (rows[3].back() == '#') sides += 'r';
    if (rows.front()[2] == '#') sides += 'u';
    if (rows.back()[2] == '#') sides += 'd';
    return sides;
}

TEST_F(Lattice, BoxLinesJoinAcrossCells)
{
    EXPECT_EQ(SidesOf(9472), "lr");
    EXPECT_EQ(SidesOf(9474), "ud");
    EXPECT_EQ(SidesOf(9484), "rd");
    EXPECT_EQ(SidesOf(9488), "ld");
    EXPECT_EQ(SidesOf(9492), "ru");
    EXPECT_EQ(SidesOf(9496), "lu");
    EXPECT_EQ(SidesOf(9500), "rud");
    EXPECT_EQ(SidesOf(9508), "lud");
    EXPECT_EQ(SidesOf(9516), "lrd");
    EXPECT_EQ(SidesOf(9524), "lru");
    EXPECT_EQ(SidesOf(9532), "lrud");
    EXPECT_EQ(PictureOf(9500),
              (Picture{"..#..", "..#..", "..#..", "..###", "..#..", "..#..", "..#..", "..#.."}));
}

TEST_F(Lattice, LoadReturns1026Bytes)
{
    Glyph glyph(QZLattice::Load(65));
    EXPECT_EQ(glyph->GetSize(), 1026);
    EXPECT_EQ(QZLattice::Load(nullptr, 65), 1026);
    std::vector<unsigned char> buffer(1026, 7);
    EXPECT_EQ(QZLattice::Load(buffer.data(), 65), 1026);
    // The 5 * 8 dots take five bytes; Load expands one byte more.
    EXPECT_EQ(std::memcmp(buffer.data(), glyph->GetPointer(), 2 + 48), 0);
    EXPECT_EQ(buffer[2 + 48], 7);
}

TEST_F(Lattice, EmptySlotLoadsWithSizeZero)
{
    std::vector<unsigned char> buffer(1026, 7);
    EXPECT_EQ(QZLattice::Load(buffer.data(), 0x4E2D), 1026);
    EXPECT_BYTES(buffer.data(), 11, "00 00 00 00 00 00 00 00 00 00 07");
}

TEST_F(Lattice, SavedGlyphIsUsed)
{
    const Picture middle = {"....#....", "#########", "#...#...#", "#########", "....#....", "....#...."};
    QZLattice::Save(0x4E2D, Draw(middle).get());
    QZLattice letter(0, 0, 0x4E2D);
    EXPECT_EQ(letter.GetCode(), 0x4E2Du);
    EXPECT_EQ(letter.GetSize()->GetWidth(), 9);
    EXPECT_EQ(letter.GetSize()->GetHeight(), 6);
    EXPECT_EQ(PictureOf(0x4E2D), middle);
}

TEST_F(Lattice, BuiltInGlyphMayBeReplaced)
{
    QZLattice::Save(65, Draw({"##", "##"}).get(), 0);
    EXPECT_EQ(PictureOf(65), (Picture{"##", "##"}));
    QZLatticeDispose();
    EXPECT_EQ(PictureOf(65), kA);
}

TEST_F(Lattice, GlyphOf40By40IsStoredAs31By31AndSlanted)
{
    Picture rows(40, "#" + std::string(39, '.'));
    Glyph glyph = Draw(rows);
    QZLattice::Save(0x4E00, glyph.get());
    EXPECT_EQ(BytesOf(glyph)[0], 31);
    EXPECT_EQ(BytesOf(glyph)[1], 31);
    EXPECT_EQ(glyph->GetSize(), 1602);
    QZLattice letter(0, 0, 0x4E00);
    EXPECT_EQ(letter.GetSize()->GetWidth(), 31);
    EXPECT_EQ(letter.GetSize()->GetHeight(), 31);
    // The left edge of the glyph is a dot in every 40. In rows of 31 dots each one is 9 dots further right.
    const Picture stored = PictureOf(0x4E00);
    EXPECT_EQ(stored[0], "#" + std::string(30, '.'));
    EXPECT_EQ(stored[1], ".........#.....................");
    EXPECT_EQ(stored[2], "..................#............");
    EXPECT_EQ(stored[3], "...........................#...");
    EXPECT_EQ(stored[4], "...............................");
    EXPECT_EQ(stored[5], ".....#.........................");
}

TEST_F(Lattice, DotsAfterTheLastOneFillTheBytesOfTheSlot)
{
    // A glyph of 1 by 1 stores (1 >> 3) + 3 = 3 bytes, which is 24 dots.
    Glyph glyph = std::make_unique<QZData>(2 + 32);
    std::memset(glyph->GetPointer(), 1, 34);
    QZLattice::Save(0x4E01, glyph.get());
    EXPECT_BYTES(QZLattice(0, 0, 0x4E01).GetGlyph(), 4, "FF FF FF 00");
}

TEST_F(Lattice, SmallerGlyphKeepsTheLastBytesOfALargerOne)
{
    QZLattice::Save(0x4E01, Draw(Picture(16, std::string(16, '#'))).get());
    QZLattice::Save(0x4E01, Draw({"."}).get());
    QZLattice letter(0, 0, 0x4E01);
    EXPECT_BYTES(letter.GetGlyph(), 5, "00 00 00 FF FF");
    EXPECT_EQ(PictureOf(0x4E01), Picture{"."});
}

TEST_F(Lattice, MissingDotsAreNotSet)
{
    const unsigned char bytes[] = {4, 4, 1, 1, 1};
    QZData glyph(bytes, 5);
    QZLattice::Save(0x4E02, &glyph);
    EXPECT_EQ(PictureOf(0x4E02), (Picture{"###.", "....", "....", "...."}));
    QZData nothing;
    QZLattice::Save(0x4E02, &nothing);
    EXPECT_EQ(QZLattice(0, 0, 0x4E02).GetCode(), 41253u);
}

TEST_F(Lattice, AnyNonZeroByteIsADot)
{
    const unsigned char bytes[] = {4, 1, 255, 0, 2, 128};
    QZData glyph(bytes, 6);
    QZLattice::Save(0x4E02, &glyph);
    EXPECT_EQ(PictureOf(0x4E02), Picture{"#.##"});
}

TEST_F(Lattice, SlotWithAZeroSideIsEmpty)
{
    for (const char* sides : {"00 08", "08 00"})
    {
        const std::string bytes = qztest::Bytes(sides);
        QZData glyph(bytes.data(), 2);
        QZLattice::Save(65, &glyph);
        EXPECT_EQ(QZLattice(0, 0, 65).GetCode(), 41253u);
    }
}

TEST_F(Lattice, SaveOfNullThrows) { EXPECT_QZ_THROW(QZLattice::Save(65, nullptr), 1792); }

TEST_F(Lattice, RecycleDeletesAndAssertsNotNull)
{
    QZData* glyph = QZLattice::Load(65);
    QZLattice::Recycle(&glyph);
    EXPECT_EQ(glyph, nullptr);
    qztest::AssertWatch watch;
    QZLattice::Recycle(&glyph);
    EXPECT_EQ(watch.Count(), 1);
}

TEST_F(Lattice, WithoutAPathNoFileIsWritten)
{
    qztest::Hooks hooks;
    QZLatticeInit(nullptr);
    hooks.Fail(os::Op::FileOpen, 5, 1, true);
    hooks.Fail(os::Op::FileWrite, 5, 1, true);
    EXPECT_QZ_NO_THROW(QZLattice::Sync());
    EXPECT_QZ_NO_THROW(QZLattice::Save(0x4E02, Draw({"#"}).get()));
}

TEST_F(Lattice, FirstInitWritesTheTableToItsFile)
{
    qztest::TempDir dir;
    const qztest::Text path = dir.Name("font.bin");
    QZLatticeInit(path.c_str());
    const std::string table = dir.Read("font.bin");
    ASSERT_EQ(table.size(), 8388608u);
    EXPECT_BYTES(table.data() + 65 * 128, 10, "05 08 74 63 F8 C6 20 00 00 00");
    EXPECT_BYTES(table.data() + 41253 * 128, 11, "08 08 FF 99 A5 85 89 81 89 FF 00");
    EXPECT_BYTES(table.data() + 9532 * 128, 7, "05 08 21 09 F2 10 84");
    EXPECT_EQ(table.find_first_not_of('\0'), 32u * 128);
    EXPECT_EQ(table.find_last_not_of('\0'), 41253u * 128 + 9);
}

const Picture kHuman = {".....#.....", ".....#.....", "....#.#....", "....#.#....",
                        "...#...#...", "..#.....#..", "##.......##"};
const Picture kBig = {"....#....", "....#....", "#########", "....#....",
                      "...#.#...", "..#...#..", "##.....##"};
const Picture kMountain = {"....#....", "....#....", "#...#...#", "#...#...#", "#########"};

TEST_F(Lattice, GlyphsSavedByAHostAreLoadedAtTheNextInit)
{
    qztest::TempDir dir;
    {
        const qztest::Text path = dir.Name("font.bin");
        QZLatticeInit(path.c_str());
        QZLattice::Save(0x4EBA, Draw(kHuman).get(), 0);
        QZLattice::Save(0x5927, Draw(kBig).get(), 0);
        EXPECT_BYTES(dir.Read("font.bin").data() + 0x4EBA * 128, 3, "00 00 00");
        QZLattice::Save(0x5C71, Draw(kMountain).get());
        EXPECT_BYTES(dir.Read("font.bin").data() + 0x5C71 * 128, 8, "09 05 08 04 22 31 1F F8");
        QZLatticeDispose();
    }
    EXPECT_EQ(QZLattice(0, 0, 0x5C71).GetCode(), 41253u);
    const qztest::Text path = dir.Name("font.bin");
    QZLatticeInit(path.c_str());
    EXPECT_EQ(PictureOf(0x4EBA), kHuman);
    EXPECT_EQ(PictureOf(0x5927), kBig);
    EXPECT_EQ(PictureOf(0x5C71), kMountain);
    EXPECT_EQ(PictureOf(65), kA);
}

TEST_F(Lattice, SyncWritesUnsavedGlyphsAndCreatesAMissingFile)
{
    qztest::TempDir dir;
    const qztest::Text path = dir.Name("font.bin");
    QZLatticeInit(path.c_str());
    QZLattice::Save(0x5C71, Draw(kMountain).get(), 0);
    std::filesystem::remove(dir.Path("font.bin"));
    QZLattice::Sync();
    const std::string table = dir.Read("font.bin");
    ASSERT_EQ(table.size(), 8388608u);
    EXPECT_BYTES(table.data() + 0x5C71 * 128, 2, "09 05");
}

TEST_F(Lattice, ShortFileIsReadToItsEnd)
{
    qztest::TempDir dir;
    std::string table(66 * 128, '\0');
    table[65 * 128] = 2;
    table[65 * 128 + 1] = 1;
    table[65 * 128 + 2] = '\x80';
    dir.Write("font.bin", table);
    const qztest::Text path = dir.Name("font.bin");
    QZLatticeInit(path.c_str());
    EXPECT_EQ(PictureOf(65), Picture{"#."});
    // All glyphs after the end of the file are empty, even the fallback.
    QZLattice missing(0, 0, 66);
    EXPECT_EQ(missing.GetCode(), 41253u);
    EXPECT_EQ(missing.GetSize()->GetWidth(), 0);
    EXPECT_EQ(dir.Read("font.bin").size(), 66u * 128);
    QZLattice::Sync();
    EXPECT_EQ(dir.Read("font.bin").size(), 8388608u);
}

TEST_F(Lattice, LongFileIsReadToTheSizeOfTheTable)
{
    qztest::TempDir dir;
    dir.Write("font.bin", std::string(kFileSize + 100, '\1'));
    const qztest::Text path = dir.Name("font.bin");
    QZLatticeInit(path.c_str());
    EXPECT_EQ(PictureOf(65535), Picture{"."});
    EXPECT_EQ(dir.Read("font.bin").size(), static_cast<std::size_t>(kFileSize + 100));
}

TEST_F(Lattice, SlotWithATooLargeSizeIsNotExpanded)
{
    qztest::TempDir dir;
    std::string table(kFileSize, '\xFF');
    // A size of 32 by 32 needs 129 bytes of dots, of which the slot has 126; 101 by 101 needs 1276, and 102
    // by 101 needs 1288.
    table[65 * 128] = table[65 * 128 + 1] = 32;
    table[66 * 128] = table[66 * 128 + 1] = 101;
    table[67 * 128] = 102;
    table[67 * 128 + 1] = 101;
    dir.Write("font.bin", table);
    const qztest::Text path = dir.Name("font.bin");
    QZLatticeInit(path.c_str());
    Glyph glyph(QZLattice::Load(65));
    EXPECT_BYTES(BytesOf(glyph), 3, "20 20 01");
    EXPECT_BYTES(BytesOf(glyph) + 2 + 1007, 17, "01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    glyph.reset(QZLattice::Load(66));
    EXPECT_BYTES(BytesOf(glyph), 3, "65 65 01");
    glyph.reset(QZLattice::Load(67));
    EXPECT_BYTES(BytesOf(glyph), 3, "00 00 00");
    glyph.reset(QZLattice::Load(65535));
    EXPECT_BYTES(BytesOf(glyph), 3, "00 00 00");
    EXPECT_EQ(QZLattice(0, 0, 65535).GetSize()->GetWidth(), 255);
}

TEST_F(Lattice, InitWithAnotherPathPointerReloadsTheFont)
{
    qztest::TempDir dir;
    const qztest::Text path = dir.Name("font.bin");
    const qztest::Text again = path;
    QZLatticeInit(path.c_str());
    QZLattice::Save(0x5C71, Draw(kMountain).get(), 0);
    QZLatticeInit(path.c_str());
    EXPECT_EQ(PictureOf(0x5C71), kMountain);
    QZLatticeInit(again.c_str());
    EXPECT_EQ(PictureOf(0x5C71), Picture());
    QZLattice::Save(0x5C71, Draw(kMountain).get(), 0);
    QZLatticeInit(nullptr);
    EXPECT_EQ(PictureOf(0x5C71), Picture());
}

TEST_F(Lattice, ObjectMayOutliveItsFont)
{
    QZLattice letter(1, 2, 65);
    QZLatticeDispose();
    EXPECT_EQ(letter.GetGlyph(), nullptr);
    EXPECT_EQ(letter.GetSize()->GetWidth(), 5);
    QZLatticeDispose();
    QZLatticeInit(nullptr);
    EXPECT_BYTES(letter.GetGlyph(), 5, "74 63 F8 C6 20");
}

TEST_F(Lattice, CopiesShareTheLocation)
{
    QZLattice letter(1, 2, 65);
    QZLattice copy = letter;
    letter.Set(5, 6, 66);
    EXPECT_EQ(copy.GetLocation()->GetX(), 5);
    EXPECT_EQ(copy.GetCode(), 65u);
}

TEST_F(Lattice, UnwritableFileThrowsAndTheFontWorksWithoutIt)
{
    qztest::TempDir dir;
    const qztest::Text path = dir.Name("no/such/font.bin");
    EXPECT_QZ_THROW(QZLatticeInit(path.c_str()), 5888);
    EXPECT_EQ(QZLattice(0, 0, 65).GetCode(), 65u);
    QZLattice::Save(0x5C71, Draw(kMountain).get());
    EXPECT_EQ(PictureOf(0x5C71), kMountain);
}

TEST_F(Lattice, FailedWriteOfTheTableThrows)
{
    qztest::TempDir dir;
    const qztest::Text path = dir.Name("font.bin");
    QZLatticeInit(path.c_str());
    qztest::Hooks hooks;
    hooks.Fail(os::Op::FileWrite, 5);
    EXPECT_QZ_THROW(QZLattice::Save(0x5C71, Draw(kMountain).get()), 4352);
    EXPECT_QZ_NO_THROW(QZLattice::Sync());
    EXPECT_EQ(PictureOf(0x5C71), kMountain);
}

TEST_F(Lattice, InitWithoutMemoryThrows)
{
    qztest::Hooks hooks;
    QZLastError = 0;
    hooks.Fail(os::Op::Allocate, 0);
    EXPECT_QZ_THROW(QZLatticeInit(nullptr), 4352);
    QZLastError = 0;
    EXPECT_EQ(QZLattice(0, 0, 65).GetCode(), 65u);
}

}  // namespace
