#include "codec/cod_compression.h"

#include "codec/internal/cod_compression_decode.h"
#include "codec/internal/cod_compression_format.h"
#include "codec/internal/cod_compression_planes.h"
#include "fw/internal/fw_hooks.h"

using namespace compression;

namespace
{

constexpr QZInt64 kPlaneHead = 8;
constexpr QZUInt32 kBitmapPlanes = 4;
constexpr QZUInt32 kBitmapTile = 8;
constexpr QZInt64 kPixelSize = 4;
/// The bytes that Divide adds for four planes: the head, and the head with the marker.
constexpr QZInt64 kFourHead = kPlaneHead * kBitmapPlanes + kMarkerSize;
constexpr QZInt64 kFourRest = kFourHead + kMarkerSize;

void PutWord(QZByte* buffer, QZInt64 offset, QZInt64 value)
{
    QZStore(QZAt(buffer, offset), static_cast<QZUInt32>(value));
}

QZInt64 GetWord(const QZByte* buffer, QZInt64 offset) { return QZLoad<QZUInt32>(QZAt(buffer, offset)); }

/// Writes the planes of a source with their head and marker; how many bytes.
QZInt64 WriteDivided(QZByte* target, const QZByte* source, QZInt64 size, QZInt64 count)
{
    PutWord(target, 0, count);
    const QZInt64 first = kPlaneHead * count + kMarkerSize;
    QZInt64 at = first;
    for (QZInt64 j = 1; j <= count; ++j)
    {
        PutWord(target, kPlaneHead * j - 4, at);
        if (size >= j) at += (size - j) / count + 1;
        PutWord(target, kPlaneHead * j, at - 1);
    }
    SplitPlanes(source, size, count, target + first);
    PutWord(target, at, kDividedMarker);
    return at + kMarkerSize;
}

/// True for a buffer of four planes with exactly the head that Divide writes.
bool IsWholeOfFour(const QZByte* bytes, QZInt64 size)
{
    if (size < kFourRest || !EndsWith(bytes, static_cast<QZUInt32>(size), kDividedMarker)) return false;
    if (GetWord(bytes, 0) != kBitmapPlanes) return false;
    const QZInt64 source = size - kFourRest;
    QZInt64 at = kFourHead;
    for (QZInt64 j = 1; j <= kBitmapPlanes; ++j)
    {
        if (GetWord(bytes, kPlaneHead * j - 4) != at) return false;
        at += (source + kBitmapPlanes - j) / kBitmapPlanes;
        if (GetWord(bytes, kPlaneHead * j) != at - 1) return false;
    }
    return true;
}

}  // namespace

// m_scratch starts as zeros and keeps the bytes of the last block from call to call.
QZCompression::QZCompression() = default;

QZCompression::~QZCompression() = default;

QZULong QZCompression::Divide(unsigned char* buffer, QZULong length, QZULong planes)
{
    const QZInt64 size = length;
    const QZInt64 count = planes;
    const Temporary source(size, false, QZ_W("Divide"));
    QZMemCopy(source.Bytes(), buffer, size);
    return static_cast<QZULong>(WriteDivided(buffer, source.Bytes(), size, count));
}

QZULong QZCompression::UnDivide(unsigned char* buffer, QZULong length)
{
    const QZInt64 size = length;
    if (!EndsWith(buffer, static_cast<QZUInt32>(length), kDividedMarker))
        QZRaise(QZGeneralFailure(QZExceptionCode::UnknownType).With("It's not Divided data!\n"),
                QZ_W("QZCompression"), QZ_W("UnDivide"))
            .Argument(QZ_W("QZUInt32"), size)
            .Throw();
    const QZInt64 count = GetWord(buffer, 0);
    const QZInt64 result = size - kMarkerSize - kPlaneHead * count - kMarkerSize;
    if (result < 0) return 0;
    const Temporary source(size, false, QZ_W("UnDivide"));
    QZMemCopy(source.Bytes(), buffer, size);
    if (IsWholeOfFour(source.Bytes(), size))
    {
        JoinFourPlanes(source.Bytes() + kFourHead, result, buffer);
        return static_cast<QZULong>(result);
    }
    for (QZInt64 j = 1; j <= count; ++j)
    {
        const QZInt64 first = GetWord(source.Bytes(), kPlaneHead * j - 4);
        const QZInt64 last = GetWord(source.Bytes(), kPlaneHead * j);
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
        length = RectToLine(buffer, width, height, kBitmapTile);
    }
    else
    {
        const QZUInt32 pixels = static_cast<QZUInt32>(QZInt64{width} * height * kPixelSize);
        PutWord(buffer, pixels, kPlainMarker);
        length = pixels + static_cast<QZULong>(kMarkerSize);
    }
    return DivideAndCompress(buffer, length);
}

/// Divide and Compress, with one buffer in between.
QZULong QZCompression::DivideAndCompress(unsigned char* buffer, QZULong length)
{
    const QZInt64 size = QZInt64{length} + kFourRest;
    const Temporary planes(size, false, QZ_W("Divide"));
    WriteDivided(planes.Bytes(), buffer, length, kBitmapPlanes);
    const QZInt64 written = EncodeTo(buffer, planes.Bytes(), static_cast<QZULong>(size));
    // The bytes after the stream are those that the two separate stages would leave there.
    if (written < size) QZMemCopy(buffer + written, planes.Bytes() + written, size - written);
    return static_cast<QZULong>(written);
}

/// Decompress, then UnDivide if the result is a whole buffer of four planes, with one temporary buffer.
/// Streams that Check refuses are only decompressed.
QZULong QZCompression::DecompressAndUnDivide(unsigned char* buffer, QZULong length)
{
    if (Check(buffer, length) == 0) return Decompress(buffer, length);
    const QZInt64 room = QZInt64{DecompressGetSourceLength(buffer, length)} + kDecodeSlack;
    const Temporary decoded(room, false, QZ_W("Decompress"));
    const QZInt64 count = DecodeChecked(buffer, length, decoded.Bytes());
    if (!IsWholeOfFour(decoded.Bytes(), count))
    {
        QZMemCopy(buffer, decoded.Bytes(), count);
        return static_cast<QZULong>(count);
    }
    const QZInt64 size = count - kFourRest;
    JoinFourPlanes(decoded.Bytes() + kFourHead, size, buffer);
    QZMemCopy(buffer + size, decoded.Bytes() + size, kFourRest);
    return static_cast<QZULong>(size);
}

QZULong QZCompression::BitmapBitsDecompress32(unsigned char* buffer, QZULong length)
{
    for (;;)
    {
        const QZUInt32 size = static_cast<QZUInt32>(length);
        if (EndsWith(buffer, size, kPlainMarker)) return length - static_cast<QZULong>(kMarkerSize);
        if (EndsWith(buffer, size, kDividedMarker))
        {
            length = UnDivide(buffer, length);
        }
        else if (EndsWith(buffer, size, kCompressedMarker))
        {
            length = DecompressAndUnDivide(buffer, length);
        }
        else if (EndsWith(buffer, size, kTiledMarker))
        {
            length = LineToRect(buffer, length);
        }
        else
        {
            QZRaise(QZExceptionCode::UnknownType, QZ_W("QZCompression"), QZ_W("BitmapBitsDecompress32"))
                .Argument(QZ_W("QZUInt32"), static_cast<QZInt64>(length))
                .Throw();
        }
    }
}

QZBool QZCompression::TryBitmapBitsDecompress32(unsigned char* buffer, QZULong length, QZULong room,
                                                QZULong* result)
{
    // Two are enough for every image of BitmapBitsCompress32 without tiles, three with them. There are
    // streams that give themselves when they are decoded.
    constexpr int kMostStages = 16;
    if (buffer == nullptr || length > room) return 0;
    for (int stage = 0; stage <= kMostStages; ++stage)
    {
        const QZUInt32 size = static_cast<QZUInt32>(length);
        if (EndsWith(buffer, size, kPlainMarker))
        {
            *result = length - static_cast<QZULong>(kMarkerSize);
            return 1;
        }
        if (EndsWith(buffer, size, kDividedMarker))
        {
            length = UnDivide(buffer, length);
        }
        else if (EndsWith(buffer, size, kCompressedMarker))
        {
            if (!Check(buffer, length) || DecompressGetSourceLength(buffer, length) > room) return 0;
            length = Decompress(buffer, length);
        }
        else
        {
            if (!EndsWith(buffer, size, kTiledMarker) || !IsWholeTiled(buffer, size, room)) return 0;
            length = LineToRect(buffer, length);
        }
    }
    return 0;
}
