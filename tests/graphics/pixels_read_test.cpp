// The checked readers of pixel files and of the font's table: what they accept, and heads that lie.

#include <chrono>
#include <cstdint>
#include <cstring>
#include <limits>

#include "fw/fw_library.h"
#include "graphics/gr_lattice.h"
#include "graphics/gr_pixels.h"
#include "graphics/pixel_show.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"

namespace
{
using qztest::BlockOf;
using qztest::Own;
using qztest::PixelsOf;
using qztest::Rows;
using qztest::TempDir;

template <typename T>
void Put(std::string* bytes, std::size_t offset, T value)
{
    std::memcpy(bytes->data() + offset, &value, sizeof value);
}

std::string Bitmap(std::int32_t width, std::int32_t height, std::size_t pixelBytes)
{
    std::string bytes(54, '\0');
    bytes[0] = 'B';
    bytes[1] = 'M';
    Put(&bytes, 10, std::uint32_t{54});
    Put(&bytes, 14, std::uint32_t{40});
    Put(&bytes, 18, width);
    Put(&bytes, 22, height);
    Put(&bytes, 26, std::uint16_t{1});
    Put(&bytes, 28, std::uint16_t{32});
    return bytes + std::string(pixelBytes, 'p');
}

std::string Bin(std::int64_t width, std::int64_t height, std::int64_t count, std::size_t pixelBytes)
{
    std::string bytes(56, '\0');
    Put(&bytes, 0, std::int64_t{0x8000100});
    Put(&bytes, 32, width);
    Put(&bytes, 40, height);
    Put(&bytes, 48, count);
    return bytes + std::string(pixelBytes, 'p');
}

using Reader = QZBool (*)(const void*, QZInt64, QZPixelBlock**, QZPixelReadError*, const QZPixelReadLimits&);
using FileReader = QZBool (*)(QZString*, QZPixelBlock**, QZPixelReadError*, const QZPixelReadLimits&);

/// The reason for which both forms refuse the bytes; None when both accept them. Neither may ask for more
/// memory than the bytes justify.
QZPixelReadCode CodeOf(Reader reader, FileReader fileReader, const std::string& bytes,
                       const QZPixelReadLimits& limits = QZPixelReadLimits())
{
    QZPixelBlock* const untouched = reinterpret_cast<QZPixelBlock*>(1);
    QZPixelBlock* block = untouched;
    QZPixelReadError error;
    const bool accepted = reader(bytes.data(), static_cast<QZInt64>(bytes.size()), &block, &error, limits);
    EXPECT_EQ(accepted, error.Code == QZPixelReadCode::None);
    EXPECT_EQ(accepted, block != untouched);
    EXPECT_EQ(accepted, error.Reason[0] == 0);
    const TempDir dir;
    dir.Write("file", bytes);
    QZString path(dir.Name("file").c_str());
    QZPixelBlock* fromFile = untouched;
    QZPixelReadError fileError;
    EXPECT_EQ(fileReader(&path, &fromFile, &fileError, limits), accepted);
    EXPECT_EQ(fileError.Code, error.Code);
    if (accepted)
    {
        EXPECT_EQ(PixelsOf(Own(block)), PixelsOf(Own(fromFile)));
    }
    return error.Code;
}

QZPixelReadCode BitmapCode(const std::string& bytes, const QZPixelReadLimits& limits = QZPixelReadLimits())
{
    return CodeOf(&QZPixelBlock::TryReadBitmap32, &QZPixelBlock::TryReadBitmap32, bytes, limits);
}

QZPixelReadCode BinCode(const std::string& bytes, const QZPixelReadLimits& limits = QZPixelReadLimits())
{
    return CodeOf(&QZPixelBlock::TryReadBin, &QZPixelBlock::TryReadBin, bytes, limits);
}

constexpr std::int32_t kMax32 = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kMax64 = std::numeric_limits<std::int64_t>::max();

TEST(PixelRead, WhatTheWritersWriteIsReadAsTheKeptReadersReadIt)
{
    const TempDir dir;
    QZString bitmap(dir.Name("a.bmp").c_str());
    QZString bin(dir.Name("a.bin").c_str());
    auto block = BlockOf({{1, 2, 3}, {4, 5, 0xFF000006}});
    block->ToFileBitmap(&bitmap);
    block->ToFileBin(&bin);
    QZPixelBlock* read = nullptr;
    ASSERT_TRUE(QZPixelBlock::TryReadBitmap32(&bitmap, &read));
    EXPECT_EQ(PixelsOf(Own(read)), PixelsOf(Own(QZPixelBlock::FromFileBitmap32(&bitmap))));
    ASSERT_TRUE(QZPixelBlock::TryReadBin(&bin, &read));
    EXPECT_EQ(PixelsOf(Own(read)), (Rows{{1, 2, 3}, {4, 5, 0xFF000006}}));
}

TEST(PixelRead, AnEmptyBlockComesBack)
{
    const TempDir dir;
    QZString path(dir.Name("a.bin").c_str());
    QZPixelBlock empty(0, 7);
    empty.ToFileBin(&path);
    QZPixelBlock* read = nullptr;
    ASSERT_TRUE(QZPixelBlock::TryReadBin(&path, &read));
    EXPECT_EQ(read->GetHeight(), 7);
    QZPixelBlock::Recycle(&read);
    EXPECT_EQ(BitmapCode(Bitmap(0, 0, 0)), QZPixelReadCode::None);
}

// The file of 54 bytes for which the kept reader takes 16.8 GB: no column, 2^31 - 1 rows.
TEST(PixelRead, AHeadAloneCostsNothing)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(BitmapCode(Bitmap(0, kMax32, 0)), QZPixelReadCode::Limit);
    QZPixelReadLimits open;
    open.MaxSide = kMax64;
    open.MaxPixels = kMax64;
    open.MaxBytes = kMax64;
    EXPECT_EQ(BitmapCode(Bitmap(kMax32, kMax32, 0), open), QZPixelReadCode::Short);
    EXPECT_EQ(BitmapCode(Bitmap(1, kMax32, 0), open), QZPixelReadCode::Short);
    EXPECT_EQ(BitmapCode(Bitmap(50000, 50000, 16)), QZPixelReadCode::Limit);
    EXPECT_EQ(BitmapCode(Bitmap(1000, 1000, 16)), QZPixelReadCode::Short);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(PixelRead, NegativeSidesAreRefused)
{
    EXPECT_EQ(BitmapCode(Bitmap(2, -2, 16)), QZPixelReadCode::Size);
    EXPECT_EQ(BitmapCode(Bitmap(-2, 2, 16)), QZPixelReadCode::Size);
    EXPECT_EQ(BitmapCode(Bitmap(-2, -2, 16)), QZPixelReadCode::Size);
    EXPECT_EQ(BitmapCode(Bitmap(2, std::numeric_limits<std::int32_t>::min(), 16)), QZPixelReadCode::Size);
    EXPECT_EQ(BinCode(Bin(-1, 4, -16, 16)), QZPixelReadCode::Size);
    EXPECT_EQ(BinCode(Bin(-2, -2, 16, 16)), QZPixelReadCode::Size);
}

TEST(PixelRead, BinHeadsNearTheLargestNumbersAreRefused)
{
    EXPECT_EQ(BinCode(Bin(kMax64, kMax64, 4, 4)), QZPixelReadCode::Limit);
    EXPECT_EQ(BinCode(Bin(kMax64, 1, kMax64, 4)), QZPixelReadCode::Limit);
    // As 32 bits these are a block of 1 by 1.
    EXPECT_EQ(BinCode(Bin((std::int64_t{1} << 32) + 1, (std::int64_t{1} << 32) + 1, 4, 4)),
              QZPixelReadCode::Limit);
    EXPECT_EQ(BinCode(Bin(1, std::int64_t{1} << 31, 4, 4)), QZPixelReadCode::Limit);
    QZPixelReadLimits open;
    open.MaxSide = kMax64;
    open.MaxPixels = kMax64;
    EXPECT_EQ(BinCode(Bin(kMax64, kMax64, 4, 4), open), QZPixelReadCode::Limit);
    EXPECT_EQ(BinCode(Bin(kMax32, kMax32, 4, 4), open), QZPixelReadCode::Short);
}

TEST(PixelRead, CountsThatDoNotFitAreRefused)
{
    EXPECT_EQ(BinCode(Bin(2, 2, 16, 16)), QZPixelReadCode::None);
    EXPECT_EQ(BinCode(Bin(2, 2, 12, 16)), QZPixelReadCode::Size);
    EXPECT_EQ(BinCode(Bin(2, 2, kMax64, 16)), QZPixelReadCode::Size);
    EXPECT_EQ(BinCode(Bin(2, 2, 16, 15)), QZPixelReadCode::Short);
    EXPECT_EQ(BinCode(Bin(2, 2, 16, 16).substr(0, 55)), QZPixelReadCode::Short);
    EXPECT_EQ(BinCode(""), QZPixelReadCode::Short);
    EXPECT_EQ(BinCode(Bitmap(2, 2, 16)), QZPixelReadCode::Signature);
}

TEST(PixelRead, OtherBitmapsAreRefused)
{
    EXPECT_EQ(BitmapCode(Bitmap(2, 2, 16)), QZPixelReadCode::None);
    EXPECT_EQ(BitmapCode(Bitmap(2, 2, 15)), QZPixelReadCode::Short);
    EXPECT_EQ(BitmapCode(Bitmap(2, 2, 16).substr(0, 53)), QZPixelReadCode::Short);
    EXPECT_EQ(BitmapCode(Bin(2, 2, 16, 16)), QZPixelReadCode::Signature);
    const auto changed = [](std::size_t offset, auto value) {
        std::string bytes = Bitmap(2, 2, 16);
        Put(&bytes, offset, value);
        return BitmapCode(bytes);
    };
    EXPECT_EQ(changed(28, std::uint16_t{24}), QZPixelReadCode::Form);
    EXPECT_EQ(changed(26, std::uint16_t{0}), QZPixelReadCode::Form);
    EXPECT_EQ(changed(30, std::uint32_t{1}), QZPixelReadCode::Form);
    EXPECT_EQ(changed(14, std::uint32_t{12}), QZPixelReadCode::Form);
    EXPECT_EQ(changed(14, std::uint32_t{0xFFFFFFFF}), QZPixelReadCode::Size);
    EXPECT_EQ(changed(10, std::uint32_t{53}), QZPixelReadCode::Size);
    EXPECT_EQ(changed(10, std::uint32_t{55}), QZPixelReadCode::Short);
    EXPECT_EQ(changed(10, std::uint32_t{0xFFFFFFFF}), QZPixelReadCode::Short);
}

TEST(PixelRead, LimitsAreThoseOfTheHost)
{
    QZPixelReadLimits limits;
    limits.MaxSide = 4;
    limits.MaxPixels = 8;
    limits.MaxBytes = 54 + 32;
    EXPECT_EQ(BitmapCode(Bitmap(4, 2, 32), limits), QZPixelReadCode::None);
    EXPECT_EQ(BitmapCode(Bitmap(4, 2, 33), limits), QZPixelReadCode::Limit);
    EXPECT_EQ(BitmapCode(Bitmap(5, 1, 20), limits), QZPixelReadCode::Limit);
    EXPECT_EQ(BitmapCode(Bitmap(3, 3, 32), limits), QZPixelReadCode::Limit);
}

TEST(PixelRead, FilesThatCannotBeReadThrow)
{
    const TempDir dir;
    QZString path(dir.Name("none").c_str());
    QZPixelBlock* block = nullptr;
    EXPECT_QZ_THROW(QZPixelBlock::TryReadBitmap32(&path, &block), 4096);
    EXPECT_QZ_THROW(QZPixelBlock::TryReadBin(&path, &block), 4096);
    EXPECT_QZ_THROW(QZPixelBlock::TryReadBin("", -1, &block), 256);
    EXPECT_FALSE(QZPixelBlock::TryReadBitmap32(nullptr, 100, &block));
    EXPECT_EQ(block, nullptr);
}

TEST(LatticeCheck, OnlyAWholeTableOfGlyphsIsAccepted)
{
    constexpr std::size_t kTable = 8388608;
    std::string table(kTable, '\0');
    const auto check = [&](const std::string& bytes) {
        const TempDir dir;
        dir.Write("font", bytes);
        const QZBool accepted = QZLattice::Check(bytes.data(), static_cast<QZInt64>(bytes.size()));
        QZString path(dir.Name("font").c_str());
        EXPECT_EQ(QZLattice::Check(path.GetPointer()), accepted);
        return accepted != 0;
    };
    EXPECT_TRUE(check(table));
    EXPECT_FALSE(check(table.substr(1)));
    EXPECT_FALSE(check(table + "x"));
    EXPECT_FALSE(check(""));
    table[65 * 128] = 31;
    table[65 * 128 + 1] = 31;
    EXPECT_TRUE(check(table));
    table[65535 * 128] = 32;
    EXPECT_TRUE(check(table)) << "a height of 0 means an empty slot";
    table[65535 * 128 + 1] = 1;
    EXPECT_FALSE(check(table));
    table[65535 * 128] = 1;
    table[65535 * 128 + 1] = '\xFF';
    EXPECT_FALSE(check(table));
    EXPECT_FALSE(QZLattice::Check(nullptr, kTable));
}

TEST(LatticeCheck, TheFileThatInitWritesIsAccepted)
{
    const TempDir dir;
    QZString path(dir.Name("font").c_str());
    QZLatticeDispose();
    QZLatticeInit(path.GetPointer());
    QZLatticeDispose();
    EXPECT_TRUE(QZLattice::Check(path.GetPointer()));
    QZString missing(dir.Name("none").c_str());
    EXPECT_QZ_THROW(QZLattice::Check(missing.GetPointer()), 4096);
    EXPECT_QZ_THROW(QZLattice::Check(nullptr), 1792);
}

}  // namespace
