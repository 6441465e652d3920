#ifndef QZLIB_GRAPHICS_PIXELS_TRANSFER_H
#define QZLIB_GRAPHICS_PIXELS_TRANSFER_H

#include "sys/sys_types.h"

/// Moving rectangles of pixels. Internal.
namespace pixels
{
struct Area
{
    int x;
    int y;
    int width;
    int height;
};

/// Pixels in rows without gaps.
struct Surface
{
    QZUInt32* pixels;
    int width;
    int height;

    QZInt64 Count() const { return QZInt64{width} * height; }
};

/// Bytes of a block's buffer, row table and pixels; a size that no buffer can have for a negative width or
/// height and for what memory cannot hold.
QZInt64 BufferSize(int width, int height);

/// The clip rule of all pixel operations. A y past the bottom wraps around, an x past the right edge does
/// not; a negative x or y moves to 0 and leaves width or height alone.
/// @return whether anything changed
bool Clip(Area* area, int width, int height);

/// Copies or blends a rectangle. The target area is clipped against the target, then the place in the source
/// against the source.
/// @param area  the place in the target and the size of the copy; afterwards the clipped area
/// @return bytes of the clipped copy
QZInt64 Transfer(const Surface& target, Area* area, const Surface& source, int sourceX, int sourceY,
                 bool overwrite);

/// Writes `count` pixels of one colour; 0 goes through the clean hook.
void FillRun(QZUInt32* first, QZInt64 count, QZUInt32 color);

/// Resamples source into target, writing the averages it forms on its way into the source.
void Resample(const Surface& source, const Surface& target);
}  // namespace pixels

#endif
