#ifndef QZLIB_GRAPHICS_PIXELS_ROTATE_H
#define QZLIB_GRAPHICS_PIXELS_ROTATE_H

#include "graphics/internal/gr_pixels_transfer.h"

/// Rotation of pixels. Internal.
namespace pixels
{
/// The size that a rotated surface needs; without pixels.
Surface RotatedSize(const Surface& source, float degrees);

/// Rotates the source into a target of that size. Pixels without a source are not written.
void Rotate(const Surface& source, const Surface& target, float degrees);
}  // namespace pixels

#endif
