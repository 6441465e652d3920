#ifndef QZLIB_GRAPHICS_IMAGE_H
#define QZLIB_GRAPHICS_IMAGE_H

#include "sys/sys_types.h"

class QZPixelBlock;

/// Conversions between the pixel layouts of cameras, displays and bitmap files.
///
/// The names follow a 32-bit word as the toolkit reads it: ARGB is 0xAARRGGBB, in ABGR red and blue are
/// exchanged. Three-byte pixels are as in bitmap files, blue first.
///
/// Buffer operations take the target, the source and the bytes of the source, and answer the bytes of the
/// result; with a null target they do nothing else. Bytes at the end that make no whole pixel are left out.
/// Lengths are not checked against the buffers. Conversions between pixels of one size may work in place.
/// All operations are static; any thread.
class QZ_API QZImage
{
public:
    /// Red and blue exchanged.
    static QZInt64 ARGB2ABGR(void* target, const void* source, QZInt64 size);
    static QZInt64 ABGR2ARGB(void* target, const void* source, QZInt64 size);
    static unsigned int ARGB2ABGR(unsigned int pixel);
    /// 0xAABBGGRR to 0xRRGGBBAA.
    static QZInt64 ABGR2RGBA(void* target, const void* source, QZInt64 size);
    /// 0xAABBGGRR to 0xBBGGRRAA.
    static QZInt64 ABGR2BGRA(void* target, const void* source, QZInt64 size);

    /// Three bytes to a word with alpha 255 and back, red and blue exchanged.
    static QZInt64 RGB2ABGR(void* target, const void* source, QZInt64 size);
    static QZInt64 ABGR2RGB(void* target, const void* source, QZInt64 size);

    /// Pixels of a bitmap without their fourth byte, or with 0xFF for it; in place, where the longer form
    /// must fit, or between buffers.
    static QZInt64 BMP32ToBMP24(void* pixels, QZInt64 size);
    static QZInt64 BMP24ToBMP32(void* pixels, QZInt64 size);
    static QZInt64 BMP32ToBMP24(void* target, const void* source, QZInt64 size);
    static QZInt64 BMP24ToBMP32(void* target, const void* source, QZInt64 size);

    /// 16-bit pixels: the upper bits of each colour; back, with the lower bits clear and alpha 255.
    static QZInt64 ARGBToRGB555(void* target, const void* source, QZInt64 size);
    static QZInt64 ARGBToRGB565(void* target, const void* source, QZInt64 size);
    static QZInt64 RGB555ToARGB(void* target, const void* source, QZInt64 size);
    static QZInt64 RGB565ToARGB(void* target, const void* source, QZInt64 size);
    static unsigned short ARGBToRGB555(unsigned int pixel);
    static unsigned short ARGBToRGB565(unsigned int pixel);
    static unsigned int RGB555ToARGB(unsigned short pixel);
    static unsigned int RGB565ToARGB(unsigned short pixel);

    /// A camera's stream of Y0 U Y1 V, BT.601 with 10 fractional bits; two pixels of alpha 255 a group. 0 for
    /// a null source.
    static QZInt64 YUYV2ARGB(void* target, const void* source, QZInt64 size);
    /// Converts nothing and answers 0.
    static QZInt64 YUYV2GRAY(void* target, const void* source, QZInt64 size);

    /// @param pixels  the count of pixels, which is the count of bytes here
    static QZInt64 GRAY2ARGB(void* target, const void* source, QZInt64 pixels);
    /// A quarter of red, twice green and blue.
    static QZInt64 ARGB2GRAY(void* target, const void* source, QZInt64 size);
    /// The luma with a chroma of 128, in 16-bit words.
    static QZInt64 GRAY2YUYV(void* target, const void* source, QZInt64 size);

    /// A turned copy, see QZPixelBlock::Rotate; given back with Recycle.
    static QZPixelBlock* Rotate(QZPixelBlock* block, float degrees);

    /// Deletes the block and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZPixelBlock** block);
};

#endif
