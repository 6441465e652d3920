#ifndef QZLIB_GRAPHICS_GEOMETRY_WORD_H
#define QZLIB_GRAPHICS_GEOMETRY_WORD_H

#include <cmath>

#include "sys/sys_types.h"

/// Arithmetic of packed points and sizes. Internal.
namespace word
{
/// x or width in the low half, y or height in the high half.
inline QZUInt64 Pack(int low, int high)
{
    return static_cast<QZUInt32>(low) | static_cast<QZUInt64>(static_cast<QZUInt32>(high)) << 32;
}
inline int Low(QZUInt64 packed) { return static_cast<int>(static_cast<QZUInt32>(packed)); }
inline int High(QZUInt64 packed) { return static_cast<int>(static_cast<QZUInt32>(packed >> 32)); }

/// Co-ordinates wrap around, like the words that hold them.
inline int Add(int a, int b) { return static_cast<int>(static_cast<QZUInt32>(a) + static_cast<QZUInt32>(b)); }
inline int Subtract(int a, int b)
{
    return static_cast<int>(static_cast<QZUInt32>(a) - static_cast<QZUInt32>(b));
}

/// The whole part of a number; the lowest co-ordinate for what no co-ordinate can hold.
inline int Truncate(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : -2147483647 - 1;
}

/// The centres are no further apart than half of both lengths together; the very distance counts, so that
/// neighbours touch.
inline bool Meet(int from1, int length1, int from2, int length2)
{
    const float center1 = static_cast<float>(from1) + static_cast<float>(length1) / 2.0F;
    const float center2 = static_cast<float>(from2) + static_cast<float>(length2) / 2.0F;
    const float reach = static_cast<float>(Add(length1, length2)) / 2.0F;
    return reach - std::fabs(center1 - center2) >= 0;
}
}  // namespace word

#endif
