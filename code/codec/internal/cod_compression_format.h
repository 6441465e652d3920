#ifndef QZLIB_CODEC_COMPRESSION_FORMAT_H
#define QZLIB_CODEC_COMPRESSION_FORMAT_H

/// What the stages of the codec share. Internal.

#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "sys/sys_bytes.h"

namespace compression
{

/// The word in the last four bytes.
constexpr QZUInt32 kPlainMarker = 0x5010100;
constexpr QZUInt32 kDividedMarker = 0x5010200;
constexpr QZUInt32 kCompressedMarker = 0x5010300;
constexpr QZUInt32 kTiledMarker = 0x5010400;
constexpr QZInt64 kMarkerSize = 4;

enum Tag : QZByte
{
    EndTag = 0,
    RawTag = 1,
    NibbleTag = 2,
    PairTag = 4,
    BitTag = 8,
    FillTag = 255
};

/// Source length as 64 bits, and the marker.
constexpr QZInt64 kStreamTrailer = 12;

inline bool EndsWith(const void* buffer, QZUInt32 length, QZUInt32 marker)
{
    return length >= kMarkerSize && QZLoad<QZUInt32>(QZAt(buffer, QZInt64{length} - kMarkerSize)) == marker;
}

/// True for a tiled image whose head fits its length and whose pixels fit the room.
bool IsWholeTiled(const QZByte* buffer, QZInt64 size, QZInt64 room);

/// A temporary buffer of a stage. Throws without memory.
class Temporary
{
public:
    Temporary(QZInt64 size, bool clean, const QZWChar* method)
        : m_buffer(clean ? MemoryAllocateClean(size) : MemoryAllocate(size))
    {
        if (m_buffer.Get() != nullptr) return;
        QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("QZCompression"), method)
            .Argument(QZ_W("QZInt64"), size)
            .Throw();
    }

    QZByte* Bytes() const { return m_buffer.Bytes(); }

private:
    QZScopedBuffer m_buffer;
};

}  // namespace compression

#endif
