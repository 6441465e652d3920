#ifndef QZLIB_GRAPHICS_PIXELS_H
#define QZLIB_GRAPHICS_PIXELS_H

#include "fw/fw_data.h"
#include "graphics/gr_geometry.h"

class QZShape;
class QZString;

/// A raster surface of 32-bit pixels in one buffer.
///
/// A pixel is a word with alpha in the top byte, then red, green and blue: in memory blue, green, red, alpha.
/// The buffer of the underlying QZData holds a table with the address of each row, 8 bytes a row, then the
/// pixels, top row first, without gaps: 8 * height + 4 * width * height bytes. Rectangles are clipped, see
/// pixels::Clip for what that means here.
///
/// Operations that answer a QZPixelBlock* make a new block for the caller, given back with Recycle. A block
/// serves one thread at a time, and Thumbnail and Smooth count as writers of the block they are called on.
/// Where storage is missing, or a width or height is negative, QZData's exception is thrown.
class QZ_API QZPixelBlock : public QZData
{
public:
    static const QZInt64 Type = 0x81FFFF3;

    /// Width and height 0, with storage for 128 by 128.
    QZPixelBlock();
    QZPixelBlock(int width, int height);
    /// A copy of the pixels; the pen colour is not taken along.
    explicit QZPixelBlock(const QZPixelBlock* other);
    QZPixelBlock(const QZPixelBlock& other);
    QZPixelBlock& operator=(const QZPixelBlock& other);
    ~QZPixelBlock() override;

    QZInt64 GetType() override;
    /// All pixels to 0.
    void Clear() override;

    /// Writes inside the block, but never in row 0 or column 0, which Fill, Paste and shapes do reach.
    virtual void SetPixel(int x, int y, unsigned int color);
    /// The same in the pen colour.
    virtual void SetPixel(int x, int y);
    /// 0 outside the block.
    virtual unsigned int GetPixel(int x, int y);

    virtual void Fill(unsigned int color);
    virtual void Fill(int x, int y, int width, int height, unsigned int color);

    /// Paints the points of a shape in their colours, those without one in the pen colour; row 0 and column 0
    /// too. A shape without an area is not drawn. Fewer colours than points are filled up in the shape.
    virtual void Draw(QZShape* shape);

    /// Adds 100 to blue, green and red, each wrapping around, but for row 0 and column 0.
    virtual void Bright();
    /// Draws the colours of neighbours together, in place and in one pass: where a neighbour's byte is
    /// further than threshold from the centre's, it moves by step.
    virtual void Smooth(unsigned int threshold, unsigned char step);
    /// Cells of the mean colour. The area's width and height stand as its right and bottom edge: an area that
    /// does not start at 0 is treated up to the co-ordinates (width, height). Nothing happens unless cell is
    /// at least 1 and at most width and height, and the area lies in the block.
    virtual void Mosaic(const QZRectangle* area, int cell);
    /// The same for the whole block.
    virtual void Mosaic(int cell);

    /// A block of the asked size with what this block has at the place; the rest of it is not written.
    virtual QZPixelBlock* Copy(int x, int y, int width, int height);
    virtual QZPixelBlock* Copy(const QZRectangle* area);
    /// Puts the part of foreign pixels that lies at the area into the same area of this block, as they are or
    /// (overwrite 0) blended by their alpha.
    /// @return false when nothing was left to put
    virtual QZBool Paste(const QZRectangle* area, const QZSize* sourceSize, const void* sourcePixels,
                         unsigned char overwrite);
    /// Puts a whole block at the place.
    virtual QZBool Paste(int x, int y, const QZPixelBlock* source, unsigned char overwrite);

    /// A resampled copy. The averages that it runs over are written into this block as well.
    virtual QZPixelBlock* Thumbnail(int width, int height);

    /// A block of the same size in which every pixel is the mean of pixels around it, weighted by alpha:
    /// `samples` of them, at distances from innerRadius to below outerRadius. The same picture gives the same
    /// result in every run.
    /// @throws QZException 256 when innerRadius is above outerRadius and samples below 1, either alone
    /// passes; and for samples at equal radii, between which there is no distance to draw
    virtual QZPixelBlock* FrostedEffect(int innerRadius, int outerRadius, int samples);

    /// A turned copy, counter-clockwise. Quarter turns (of the whole degrees) are exact; any other angle
    /// gives a block that holds the turned corners, without interpolation, and what no pixel reaches is not
    /// written.
    virtual QZPixelBlock* Rotate(float degrees);
    /// Turns the block itself.
    virtual void RotateThis(float degrees);

    /// The same rows, the last one first.
    virtual QZPixelBlock* FlipVertical();

    /// The first pixel of row 0.
    void* GetPointer() const { return m_pixels; }
    int GetWidth() const { return m_width; }
    int GetHeight() const { return m_height; }
    /// The block's own size object; it stays the block's.
    QZSize* GetSize() const { return m_size; }
    /// Bytes of the pixels alone.
    QZInt64 GetDataSize() const { return QZInt64{4} * m_width * m_height; }

    /// The pen: the colour of SetPixel(x, y) and of points without a colour. Without alpha it is opaque.
    void SetColor(unsigned char red, unsigned char green, unsigned char blue);
    void SetColor(unsigned int color) { m_color = color; }
    unsigned int GetColor() const { return m_color; }

    /// Takes size and pixels of the other block.
    void Set(const QZPixelBlock* other);
    /// Resamples the block to the new size.
    void NewSize(int width, int height);

    /// The alpha of every pixel.
    void SetAlpha(unsigned char alpha);
    /// Alpha out of a colour channel: 255 - blue with the mask 0xFF. With 0xFF00 and 0xFF0000 the word also
    /// picks up a carry. The first three pixels stay as they are.
    void SetColorToAlpha(unsigned int mask);

    /// Reads a 32-bit bitmap. Signature and depth are not looked at, and rows are taken as they come: a
    /// bottom-up file gives the picture upside down, and ToFileBitmap writes it back the right way up.
    /// @throws QZIOException 4096 for a missing file
    static QZPixelBlock* FromFileBitmap32(QZString* path);
    /// Reads what ToFileBin wrote. The head is trusted.
    /// @throws QZIOException 4096 for a missing file
    static QZPixelBlock* FromFileBin(QZString* path);
    /// Writes a new file: a head of seven 64-bit words (0x8000100, three zeros, width, height, bytes of the
    /// pixels), then the pixels. True.
    /// @throws QZIOException as QZFile::Create and QZFile::Open do
    QZBool ToFileBin(QZString* path);
    /// A whole bitmap file, bottom row first; given back with Recycle.
    QZData* ToFileBitmap();
    /// The same into a new file; its size in bytes.
    int ToFileBitmap(QZString* path);

    /// Deletes the object and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZPixelBlock** block);
    static void Recycle(QZData** data);

protected:
    /// Lays the row table out again, for a buffer that is new or has moved.
    void AddrArrayInit();

    QZUInt32** m_rows = nullptr;
    int m_width = 0;
    int m_height = 0;
    QZUInt32* m_pixels = nullptr;
    QZSize* m_size;
    QZUInt32 m_color = 0;

private:
    QZInt64 PixelCount() const { return QZInt64{m_width} * m_height; }
    void MosaicCells(int left, int top, int right, int bottom, int cell);
    void MosaicCell(int x, int y, int cell);
    template <typename Painter>
    void Rebuild(const QZWChar* method, int width, int height, Painter paint);
};

#endif
