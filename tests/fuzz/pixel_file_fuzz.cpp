// Any bytes as a bitmap, as a bin file and as the start of a font table: the checked readers refuse them, or
// give a block that is written back to the bytes that were read.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "fw/fw_library.h"
#include "graphics/gr_lattice.h"
#include "graphics/gr_pixels.h"
#include "qzlib.h"

namespace
{
void Require(bool condition)
{
    if (!condition) std::abort();
}

using Block = std::unique_ptr<QZPixelBlock>;

QZPixelReadLimits Limits()
{
    QZPixelReadLimits limits;
    limits.MaxSide = 4096;
    limits.MaxPixels = 0x10000;
    return limits;
}

/// The block that a reader gave; null where it refused the bytes for a reason.
template <typename Reader>
Block Read(Reader reader, const std::uint8_t* data, std::size_t size)
{
    QZPixelBlock* block = nullptr;
    QZPixelReadError error;
    const QZBool accepted = reader(data, static_cast<QZInt64>(size), &block, &error, Limits());
    Require((accepted != 0) == (block != nullptr));
    Require((accepted != 0) == (error.Code == QZPixelReadCode::None));
    if (block != nullptr)
    {
        Require(block->GetWidth() <= 4096 && block->GetHeight() <= 4096);
        Require(block->GetDataSize() <= static_cast<QZInt64>(size));
    }
    return Block(block);
}

void CheckBitmap(const std::uint8_t* data, std::size_t size)
{
    using Form =
        QZBool (*)(const void*, QZInt64, QZPixelBlock**, QZPixelReadError*, const QZPixelReadLimits&);
    const Block block = Read(static_cast<Form>(&QZPixelBlock::TryReadBitmap32), data, size);
    if (block == nullptr) return;
    // The writer turns the rows over; turned again they are those of the source.
    const std::unique_ptr<QZData> file(block->ToFileBitmap());
    const Block again =
        Read(static_cast<Form>(&QZPixelBlock::TryReadBitmap32),
             static_cast<const std::uint8_t*>(file->GetPointer()), static_cast<std::size_t>(file->GetSize()));
    Require(again != nullptr);
    const Block turned(again->FlipVertical());
    Require(turned->GetWidth() == block->GetWidth() && turned->GetHeight() == block->GetHeight());
    Require(std::memcmp(turned->GetPointer(), block->GetPointer(),
                        static_cast<std::size_t>(block->GetDataSize())) == 0);
}

void CheckBin(const std::uint8_t* data, std::size_t size)
{
    using Form =
        QZBool (*)(const void*, QZInt64, QZPixelBlock**, QZPixelReadError*, const QZPixelReadLimits&);
    const Block block = Read(static_cast<Form>(&QZPixelBlock::TryReadBin), data, size);
    if (block == nullptr) return;
    Require(std::memcmp(block->GetPointer(), data + 56, static_cast<std::size_t>(block->GetDataSize())) == 0);
}

void CheckFont(const std::uint8_t* data, std::size_t size)
{
    Require(!QZLattice::Check(data, static_cast<QZInt64>(size)));
    static std::vector<std::uint8_t> table(8388608);
    std::memcpy(table.data(), data, size);
    bool expected = true;
    for (std::size_t i = 0; i < size; i += 128)
        if (table[i] != 0 && table[i + 1] != 0 && (table[i] > 31 || table[i + 1] > 31)) expected = false;
    Require((QZLattice::Check(table.data(), 8388608) != 0) == expected);
    std::fill_n(table.begin(), size, std::uint8_t{0});
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = QZLibInit() != 0;
    Require(started);
    if (size > 0x8000) return 0;
    CheckBitmap(data, size);
    CheckBin(data, size);
    // The whole table is compared each time, so only some inputs are.
    if (size > 0 && data[0] % 16 == 0) CheckFont(data, size);
    return 0;
}
