#include "codec/cod_compression.h"

#include "codec/cod_compression_format.h"

using namespace compression;

namespace
{

constexpr QZInt64 PlaneHead = 8;
constexpr QZUInt32 BitmapPlanes = 4;
constexpr QZUInt32 BitmapTile = 8;
constexpr QZInt64 PixelSize = 4;

void PutWord(QZByte* buffer, QZInt64 offset, QZInt64 value)
{
    QZStore(QZAt(buffer, offset), static_cast<QZUInt32>(value));
}

QZInt64 GetWord(const QZByte* buffer, QZInt64 offset) { return QZLoad<QZUInt32>(QZAt(buffer, offset)); }

}  // namespace

// The scratch is zero at first and then keeps what the last block left, from call to call.
QZCompression::QZCompression() = default;

QZCompression::~QZCompression() = default;

QZULong QZCompression::Divide(unsigned char* buffer, QZULong length, QZULong planes)
{
    const QZInt64 size = length;
    const QZInt64 count = planes;
    const Temporary source(size, false, QZ_W("Divide"));
    QZMemCopy(source.Bytes(), buffer, size);
    PutWord(buffer, 0, count);
    QZInt64 at = PlaneHead * count + MarkerSize;
    for (QZInt64 j = 1; j <= count; ++j)
    {
        PutWord(buffer, PlaneHead * j - 4, at);
        for (QZInt64 i = j - 1; i < size; i += count) buffer[at++] = source.Bytes()[i];
        PutWord(buffer, PlaneHead * j, at - 1);
    }
    PutWord(buffer, at, DividedMarker);
    return static_cast<QZULong>(at + MarkerSize);
}

QZULong QZCompression::UnDivide(unsigned char* buffer, QZULong length)
{
    const QZInt64 size = length;
    if (!EndsWith(buffer, static_cast<QZUInt32>(length), DividedMarker))
        throw QZTrace(
            QZExceptionFactory::CreateException("It's not Divided data!\n", QZExceptionCode::UnknownType),
            QZ_W("QZCompression"), QZ_W("UnDivide"))
            .Argument(QZ_W("QZUInt32"), size)
            .Exception();
    const QZInt64 count = GetWord(buffer, 0);
    const QZInt64 result = size - MarkerSize - PlaneHead * count - MarkerSize;
    if (result < 0) return 0;
    const Temporary source(size, false, QZ_W("UnDivide"));
    QZMemCopy(source.Bytes(), buffer, size);
    for (QZInt64 j = 1; j <= count; ++j)
    {
        const QZInt64 first = GetWord(source.Bytes(), PlaneHead * j - 4);
        const QZInt64 last = GetWord(source.Bytes(), PlaneHead * j);
        // A damaged head may point anywhere: both ends of the copy stay inside the buffer.
        for (QZInt64 from = first, to = j - 1; from <= last && from < size && to < size; ++from, to += count)
            buffer[to] = source.Bytes()[from];
    }
    return static_cast<QZULong>(result);
}

QZULong QZCompression::BitmapBitsCompress32(QZLong width, QZLong height, unsigned char* buffer, bool tiled)
{
    QZULong length;
    if (tiled)
    {
        length = RectToLine(buffer, width, height, BitmapTile);
    }
    else
    {
        const QZUInt32 pixels = static_cast<QZUInt32>(QZInt64{width} * height * PixelSize);
        PutWord(buffer, pixels, PlainMarker);
        length = pixels + static_cast<QZULong>(MarkerSize);
    }
    length = Divide(buffer, length, BitmapPlanes);
    return Compress(buffer, length);
}

QZULong QZCompression::BitmapBitsDecompress32(unsigned char* buffer, QZULong length)
{
    for (;;)
    {
        const QZUInt32 size = static_cast<QZUInt32>(length);
        if (EndsWith(buffer, size, PlainMarker)) return length - static_cast<QZULong>(MarkerSize);
        if (EndsWith(buffer, size, DividedMarker))
        {
            length = UnDivide(buffer, length);
        }
        else if (EndsWith(buffer, size, CompressedMarker))
        {
            length = Decompress(buffer, length);
        }
        else if (EndsWith(buffer, size, TiledMarker))
        {
            length = LineToRect(buffer, length);
        }
        else
        {
            throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::UnknownType),
                          QZ_W("QZCompression"), QZ_W("BitmapBitsDecompress32"))
                .Argument(QZ_W("QZUInt32"), static_cast<QZInt64>(length))
                .Exception();
        }
    }
}
