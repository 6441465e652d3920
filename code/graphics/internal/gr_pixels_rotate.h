#ifndef QZLIB_GRAPHICS_PIXELS_ROTATE_H
#define QZLIB_GRAPHICS_PIXELS_ROTATE_H

#include "graphics/internal/gr_pixels_transfer.h"

/// Turning pixels. Internal.
namespace pixels
{
/// The size, without pixels, that a turn needs.
Surface RotatedSize(const Surface& source, float degrees);

/// Turns source into a target of that size. Pixels that nothing of the source reaches are not written.
void Rotate(const Surface& source, const Surface& target, float degrees);
}  // namespace pixels

#endif
