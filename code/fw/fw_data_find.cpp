#include "fw/internal/fw_data_find.h"

#include <cstring>
#include <limits>

#include "fw/fw_exception_code.h"
#include "fw/fw_memory.h"
#include "fw/internal/fw_hooks.h"
#include "sys/sys_bytes.h"

QZInt64 QZBytesFind(const void* data, QZInt64 size, const void* pattern, QZInt64 patternSize, QZInt64 unit)
{
    // Callers rely on position 0 for a search with a null pointer.
    if (data == nullptr || pattern == nullptr) return 0;
    if (size <= 0 || patternSize <= 0 || patternSize > size) return -1;
    const auto* begin = static_cast<const unsigned char*>(data);
    const int first = *static_cast<const unsigned char*>(pattern);
    const QZInt64 last = size - patternSize;
    for (QZInt64 position = 0; position <= last; ++position)
    {
        const void* hit = std::memchr(begin + position, first, static_cast<std::size_t>(last - position + 1));
        if (hit == nullptr) return -1;
        position = static_cast<const unsigned char*>(hit) - begin;
        if (position % unit == 0 && QZMemory::Equals(begin + position, pattern, patternSize)) return position;
    }
    return -1;
}

QZInt64 QZBytesReplaceBound(QZInt64 size, QZInt64 findSize, QZInt64 withSize)
{
    const QZInt64 larger = withSize > findSize ? withSize : findSize;
    const QZInt64 smaller = withSize > findSize ? findSize : withSize;
    QZInt64 bound = 0;
    // A size that overflows is one for which there is no memory.
    if (__builtin_sub_overflow(larger, smaller, &bound) ||
        __builtin_mul_overflow(size / findSize, bound, &bound) || __builtin_add_overflow(size, bound, &bound))
        return std::numeric_limits<QZInt64>::max();
    return bound;
}

QZInt64 QZBytesReplace(void* target, const void* source, QZInt64 size, const void* find, QZInt64 findSize,
                       const void* with, QZInt64 withSize, QZInt64 unit)
{
    if (source == nullptr || find == nullptr || (with == nullptr && withSize > 0) || size < 0 ||
        findSize < 0 || withSize < 0)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return 0;
    }
    if (size == 0 || findSize == 0) return 0;
    QZInt64 read = 0;
    QZInt64 written = 0;
    while (read < size)
    {
        const QZInt64 hit = QZBytesFind(QZAt(source, read), size - read, find, findSize, unit);
        const QZInt64 kept = hit < 0 ? size - read : hit;
        if (kept > 0) QZMemCopy(QZAt(target, written), QZAt(source, read), kept);
        written += kept;
        if (hit < 0) break;
        if (withSize > 0) QZMemCopy(QZAt(target, written), with, withSize);
        written += withSize;
        read += kept + findSize;
    }
    return written;
}
