#ifndef QZLIB_FW_BLOCK_H
#define QZLIB_FW_BLOCK_H

#include "sys/sys_bytes.h"
#include "sys/sys_types.h"

/// The self-describing storage block of QZData, QZString and QZQueue. This header is installed because the
/// accessors of QZData are inline for speed and read the block's header. Programs use those accessors and
/// none of the functions here.
///
/// Layout, 64-bit words: marker 65535, data type, size, offset (head room), structure size; then the
/// structure area, the head room, the data; and at the end of the data, rounded up to a multiple of 8, the
/// guard word. The block lies in a buffer of the memory manager, whose requested size is the block's
/// capacity, a multiple of 512.
namespace block
{
inline constexpr QZInt64 kMarker = 65535;
inline constexpr QZUInt64 kGuard = 0xFFFF000000000000ull;
inline constexpr QZInt64 kHeaderSize = 40;
inline constexpr QZInt64 kDefaultOffset = 64;
inline constexpr QZInt64 kPlainType = 0xFF000000;
inline constexpr QZInt64 kCapacityStep = 512;

inline QZInt64 Type(const void* b) { return QZLoad<QZInt64>(QZAt(b, 8)); }
inline QZInt64 Size(const void* b) { return QZLoad<QZInt64>(QZAt(b, 16)); }
inline QZInt64 Offset(const void* b) { return QZLoad<QZInt64>(QZAt(b, 24)); }
inline QZInt64 StructSize(const void* b) { return QZLoad<QZInt64>(QZAt(b, 32)); }
inline unsigned char* Data(void* b) { return QZAt(b, kHeaderSize + StructSize(b) + Offset(b)); }
inline const unsigned char* Data(const void* b) { return QZAt(b, kHeaderSize + StructSize(b) + Offset(b)); }

/// Length of a whole block, guard included.
inline QZInt64 Length(QZInt64 structSize, QZInt64 offset, QZInt64 size)
{
    return ((kHeaderSize + structSize + offset + size + 7) / 8) * 8 + 8;
}
inline QZInt64 Length(const void* b) { return Length(StructSize(b), Offset(b), Size(b)); }

/// A new block with cleared storage. Null for a negative size (QZLastError stays) or no memory (QZLastError
/// 4352).
void* Make(QZInt64 type, QZInt64 offset, QZInt64 size, QZInt64 structSize);

/// A copy of a whole block: type, structure area and head room included. Null as for Make.
void* Copy(const void* b);

/// Frees a block with the checks of the memory manager and of the block itself.
/// False with QZLastError set when a check fails; a damaged block is not freed.
bool Free(void* b);

/// Changes the size of the data; the block may move, then *b is the new place. The front of the data stays.
/// False with QZLastError 4352 when there is no memory; the block is unchanged then. `size` is not negative.
bool Resize(void** b, QZInt64 size);

/// Moves the start of the data; its end stays. Negative offsets are ignored. See QZData::SetOffset. An offset
/// past the end of the data may need more storage: the block may move, then *b is the new place. False with
/// QZLastError 4352 when there is no memory; the block is unchanged then.
bool SetOffset(void** b, QZInt64 offset);

/// Offset 64, size 0, guard written; the capacity stays.
void Reset(void* b);

/// Writes the guard word after the data.
void WriteGuard(void* b);

/// True when marker and guard are right.
bool Check(const void* b);

/// The size up to which the block need not grow: the requested size of its buffer in whole steps of 512.
QZInt64 Capacity(const void* b);

/// True when the address lies in the buffer that holds the block.
bool Holds(const void* b, const void* p);
}  // namespace block

#endif
