// The tile stage of the codec.

#include <algorithm>
#include <cstring>

#include "codec/cod_compression.h"
#include "codec/cod_math.h"
#include "codec/internal/cod_compression_format.h"
#include "fw/internal/fw_hooks.h"

using namespace compression;

namespace
{

constexpr QZInt64 kHeadSize = 12;
constexpr QZInt64 kTailSize = 8;
constexpr QZInt64 kPixelSize = 4;

/// The order of an image's pixels in the stream.
struct Tiling
{
    QZInt64 width;
    QZInt64 height;
    QZInt64 tile;
    QZInt64 wholeWidth;
    QZInt64 wholeHeight;

    Tiling(QZInt64 w, QZInt64 h, QZInt64 t)
        : width(w), height(h), tile(t), wholeWidth(w - w % t), wholeHeight(h - h % t)
    {}

    /// Bytes of the image; kept inside 64 bits for the sides of a damaged head.
    QZInt64 ImageSize() const
    {
        constexpr QZInt64 kPixelLimit = QZInt64{1} << 56;
        return width > 0 && height > 0 ? std::min(width * height, kPixelLimit) * kPixelSize : 0;
    }

    /// Columns after the whole tiles are coded only when there are rows after the whole tiles too. Existing
    /// streams have this form.
    bool HasRest() const { return wholeHeight != height; }

    /// The number of pixels in the stream.
    QZInt64 Count() const
    {
        if (ImageSize() == 0) return 0;
        return HasRest() ? width * height : wholeWidth * wholeHeight;
    }

    /// Calls visit(x, y, count) in the order of the stream, for `count` pixels of a row, until it returns
    /// false.
    template <typename Visit>
    void Walk(Visit visit) const
    {
        if (ImageSize() == 0 || !WalkTiles(visit) || !HasRest()) return;
        if (wholeHeight > 0 && !WalkArea(wholeWidth, width, 0, wholeHeight, true, visit)) return;
        WalkArea(0, width, wholeHeight, height, true, visit);
    }

private:
    template <typename Visit>
    bool WalkTiles(Visit& visit) const
    {
        if (wholeWidth == 0) return true;
        for (QZInt64 y = 0; y < wholeHeight; y += tile)
            for (QZInt64 x = 0; x < wholeWidth; x += tile)
                if (!WalkArea(x, x + tile, y, y + tile, false, visit)) return false;
        return true;
    }

    template <typename Visit>
    static bool WalkArea(QZInt64 left, QZInt64 right, QZInt64 top, QZInt64 bottom, bool byColumns,
                         Visit& visit)
    {
        if (byColumns)
        {
            for (QZInt64 x = left; x < right; ++x)
                for (QZInt64 y = top; y < bottom; ++y)
                    if (!visit(x, y, 1)) return false;
            return true;
        }
        for (QZInt64 y = top; y < bottom; ++y)
            if (left < right && !visit(left, y, right - left)) return false;
        return true;
    }
};

void CopyPixels(QZByte* to, const QZByte* from, QZInt64 count)
{
    // The row of a tile of an image in use.
    if (count == 8)
        std::memcpy(to, from, 8 * kPixelSize);
    else
        for (QZInt64 i = 0; i < count; ++i)
            QZStore(to + i * kPixelSize, QZLoad<QZUInt32>(from + i * kPixelSize));
}

}  // namespace

bool compression::IsWholeTiled(const QZByte* buffer, QZInt64 size, QZInt64 room)
{
    if (size < kHeadSize + kTailSize || QZLoad<QZUInt32>(buffer + 8) == 0) return false;
    const Tiling tiling(QZLoad<QZInt32>(buffer), QZLoad<QZInt32>(buffer + 4), QZLoad<QZUInt32>(buffer + 8));
    if (tiling.width < 0 || tiling.height < 0 || tiling.ImageSize() > room) return false;
    return kHeadSize + tiling.Count() * kPixelSize + kTailSize == size;
}

QZULong QZCompression::RectToLine(unsigned char* buffer, QZLong width, QZLong height, QZULong tile)
{
    if (tile == 0)
        QZRaise(QZExceptionCode::ArgumentOutOfRange, QZ_W("QZCompression"), QZ_W("RectToLine"))
            .Argument(QZ_W("QZInt32"), static_cast<QZInt64>(width))
            .Argument(QZ_W("QZInt32"), static_cast<QZInt64>(height))
            .Argument(QZ_W("QZUInt32"), static_cast<QZInt64>(tile))
            .Throw();
    const Tiling tiling(width, height, tile);
    const Temporary line(tiling.ImageSize() + 2048, false, QZ_W("RectToLine"));
    QZStore(line.Bytes(), static_cast<QZInt32>(width));
    QZStore(line.Bytes() + 4, static_cast<QZInt32>(height));
    QZStore(line.Bytes() + 8, static_cast<QZUInt32>(tile));
    QZInt64 written = kHeadSize;
    tiling.Walk([&](QZInt64 x, QZInt64 y, QZInt64 count) {
        CopyPixels(line.Bytes() + written, buffer + (y * tiling.width + x) * kPixelSize, count);
        written += count * kPixelSize;
        return true;
    });
    QZMemCopy(buffer, line.Bytes(), written);
    QZStore(buffer + written, kPlainMarker);
    QZStore(buffer + written + kMarkerSize, kTiledMarker);
    return static_cast<QZULong>(written + kTailSize);
}

QZULong QZCompression::LineToRect(unsigned char* buffer, QZULong length)
{
    const QZInt64 size = length;
    if (!EndsWith(buffer, static_cast<QZUInt32>(length), kTiledMarker)) return length;
    const QZULong result = static_cast<QZULong>(size - kMarkerSize);
    if (size < kHeadSize || QZLoad<QZUInt32>(buffer + 8) == 0) return result;
    const Tiling tiling(QZLoad<QZInt32>(buffer), QZLoad<QZInt32>(buffer + 4), QZLoad<QZUInt32>(buffer + 8));

    // A whole stream may be shorter than its image, for which the caller has room. Of a damaged one only the
    // bytes that it has itself are known to be there.
    const bool whole = tiling.Count() == (size - kHeadSize - kTailSize) / kPixelSize &&
                       (size - kHeadSize - kTailSize) % kPixelSize == 0 && size >= kHeadSize + kTailSize;
    const QZInt64 imageSize = whole ? tiling.ImageSize() : std::min(tiling.ImageSize(), size);
    const QZInt64 room =
        static_cast<QZInt64>(QZMath::RoundUp(static_cast<QZUInt64>(imageSize), 0x100000)) + 0x10000;
    const Temporary image(room, true, QZ_W("LineToRect"));
    QZInt64 read = kHeadSize;
    tiling.Walk([&](QZInt64 x, QZInt64 y, QZInt64 count) {
        const QZInt64 there = std::min(count, (size - read) / kPixelSize);
        // The pixel number is tested before it becomes an offset: the sides of a damaged head can be up to
        // 2^31.
        const QZInt64 pixel = y * tiling.width + x;
        const QZInt64 fitting = std::clamp<QZInt64>(room / kPixelSize - pixel, 0, there);
        CopyPixels(image.Bytes() + (fitting > 0 ? pixel : 0) * kPixelSize, buffer + read, fitting);
        read += there * kPixelSize;
        return there == count;
    });
    QZMemCopy(buffer, image.Bytes(), imageSize);
    return result;
}
