#ifndef QZLIB_COD_COMPRESSION_FORMAT_H
#define QZLIB_COD_COMPRESSION_FORMAT_H

/// What the stages of the codec share. Internal.

#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_trace.h"
#include "sys/sys_bytes.h"

namespace compression
{

/// The word in the last four bytes.
constexpr QZUInt32 PlainMarker = 0x5010100;
constexpr QZUInt32 DividedMarker = 0x5010200;
constexpr QZUInt32 CompressedMarker = 0x5010300;
constexpr QZUInt32 TiledMarker = 0x5010400;
constexpr QZInt64 MarkerSize = 4;

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
constexpr QZInt64 StreamTrailer = 12;

inline bool EndsWith(const void* buffer, QZUInt32 length, QZUInt32 marker)
{
    return length >= MarkerSize && QZLoad<QZUInt32>(QZAt(buffer, QZInt64{length} - MarkerSize)) == marker;
}

/// A buffer of the memory manager for the time of a stage.
class Temporary
{
public:
    Temporary(QZInt64 size, bool clean, const QZWChar* method)
        : m_bytes(static_cast<QZByte*>(clean ? MemoryAllocateClean(size) : MemoryAllocate(size)))
    {
        if (m_bytes) return;
        throw QZTrace(QZExceptionFactory::CreateException(QZLastErrorOr(QZExceptionCode::OutOfMemory)),
                      QZ_W("QZCompression"), method)
            .Argument(QZ_W("QZInt64"), size)
            .Exception();
    }
    ~Temporary() { MemoryFree(m_bytes); }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    QZByte* Bytes() const { return m_bytes; }

private:
    QZByte* m_bytes;
};

}  // namespace compression

#endif
