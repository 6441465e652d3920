#ifndef QZLIB_GRAPHICS_PIXELS_VECTOR_H
#define QZLIB_GRAPHICS_PIXELS_VECTOR_H

#include "sys/sys_types.h"

/// Runs of pixels in the widest form that the processor has. Internal.
///
/// Every form gives the same bits. The plain one is the definition; tests compare the others with it.
namespace pixels
{
enum class Form
{
    Plain,
    Sse2,
    Avx2
};

/// Whether the processor has the form.
bool HasForm(Form form);
/// The widest form that it has.
Form BestForm();

/// One source pixel over one target pixel, weighted by the source's alpha.
QZUInt32 Blend(QZUInt32 target, QZUInt32 source);

/// Blends from right to left. The order decides the result when a block is blended into itself.
void BlendRun(Form form, QZUInt32* target, const QZUInt32* source, QZInt64 count);
/// Copies between runs that do not overlap. With `past` the pixels go past the caches, for pictures that they
/// could not hold anyway.
void CopyRun(Form form, QZUInt32* target, const QZUInt32* source, QZInt64 count, bool past);
/// Writes one colour.
void ColorRun(Form form, QZUInt32* first, QZInt64 count, QZUInt32 color);
}  // namespace pixels

#endif
