#ifndef QZLIB_GRAPHICS_PIXELS_H
#define QZLIB_GRAPHICS_PIXELS_H

#include "fw/fw_data.h"
#include "graphics/gr_geometry.h"

class QZShape;
class QZString;

/// What QZPixelBlock's checked readers accept at most.
struct QZPixelReadLimits
{
    /// Width and height each.
    QZInt64 MaxSide = 65536;
    /// Width times height.
    QZInt64 MaxPixels = QZInt64{1} << 26;
    /// The size of the file or buffer.
    QZInt64 MaxBytes = QZInt64{1} << 30;
};

/// Why QZPixelBlock's checked readers refuse a file.
enum class QZPixelReadCode
{
    None,
    Short,      ///< fewer bytes than the head has, or than the pixels need
    Signature,  ///< not a file of this format
    Form,       ///< a form of the format that the reader does not read
    Size,       ///< a negative side, or counts that contradict each other
    Limit       ///< larger than the limits
};

/// The result of a checked reader that refuses a file. A plain record.
struct QZPixelReadError
{
    QZPixelReadCode Code = QZPixelReadCode::None;
    /// The reason in words, a static text.
    const QZWChar* Reason = QZ_W("");
};

/// A raster surface of 32-bit pixels in one buffer.
///
/// A pixel is a word with alpha in the top byte, then red, green and blue: in memory blue, green, red, alpha.
/// The buffer of the underlying QZData holds a table with the address of each row, 8 bytes for each, then the
/// pixels, top row first, without gaps: 8 * height + 4 * width * height bytes. Rectangles are clipped by one
/// rule: a negative x or y becomes 0, and width or height do not change; a y past the bottom wraps around, an
/// x past the right edge does not.
///
/// Operations that return a QZPixelBlock* make a new block, which the caller gives back with Recycle. One
/// thread at a time; Thumbnail and Smooth write to the block on which they are called. Without memory, and
/// for a negative width or height, QZData's exception is thrown.
class QZ_API QZPixelBlock : public QZData
{
public:
    static const QZInt64 Type = 0x81FFFF3;

    /// Width and height 0, with storage for 128 by 128.
    QZPixelBlock();
    QZPixelBlock(int width, int height);
    /// A copy of the pixels. The pen colour is not copied.
    explicit QZPixelBlock(const QZPixelBlock* other);
    QZPixelBlock(const QZPixelBlock& other);
    QZPixelBlock& operator=(const QZPixelBlock& other);
    ~QZPixelBlock() override;

    QZInt64 GetType() override;
    /// Sets all pixels to 0.
    void Clear() override;

    /// Writes a pixel inside the block, but not in row 0 or column 0. Fill, Paste and shapes write there too.
    virtual void SetPixel(int x, int y, unsigned int color);
    /// The same in the pen colour.
    virtual void SetPixel(int x, int y);
    /// The pixel, 0 outside the block.
    virtual unsigned int GetPixel(int x, int y);

    virtual void Fill(unsigned int color);
    virtual void Fill(int x, int y, int width, int height, unsigned int color);

    /// Draws the points of a shape in their colours, points without a colour in the pen colour, also in row 0
    /// and column 0. A shape without an area is not drawn. When there are fewer colours than points, the
    /// missing colours are added to the shape.
    virtual void Draw(QZShape* shape);

    /// Adds 100 to blue, green and red, each modulo 256, except in row 0 and column 0.
    virtual void Bright();
    /// Brings the colours of neighbours closer together, in place and in one pass: a neighbour's byte that
    /// differs from the centre's by more than threshold moves by step.
    virtual void Smooth(unsigned int threshold, unsigned char step);
    /// Fills cells with their mean colour. The area's width and height are used as its right and bottom edge,
    /// so an area that does not start at 0 ends at the co-ordinates (width, height). Does nothing unless cell
    /// is at least 1 and at most width and height, and the area lies in the block.
    virtual void Mosaic(const QZRectangle* area, int cell);
    /// The same for the whole block.
    virtual void Mosaic(int cell);

    /// A block of this size with the pixels of this block at the place. Pixels outside this block are not
    /// written.
    virtual QZPixelBlock* Copy(int x, int y, int width, int height);
    virtual QZPixelBlock* Copy(const QZRectangle* area);
    /// Copies the area of other pixels to the same area of this block, unchanged, or blended by their alpha
    /// when overwrite is 0.
    /// @return false when nothing was left to put
    virtual QZBool Paste(const QZRectangle* area, const QZSize* sourceSize, const void* sourcePixels,
                         unsigned char overwrite);
    /// Copies a whole block to the place.
    virtual QZBool Paste(int x, int y, const QZPixelBlock* source, unsigned char overwrite);

    /// A resampled copy. The averages that it computes on the way are written into this block too.
    virtual QZPixelBlock* Thumbnail(int width, int height);

    /// A block of the same size in which every pixel is the mean of pixels around it, weighted by alpha:
    /// `samples` of them, at distances from innerRadius to below outerRadius. The same picture gives the same
    /// result in every run.
    /// @throws QZException 256 when innerRadius is above outerRadius and samples below 1, either alone
    /// passes; and for samples at equal radii, between which there is no distance to draw
    virtual QZPixelBlock* FrostedEffect(int innerRadius, int outerRadius, int samples);

    /// A copy rotated counter-clockwise. Quarter turns (in whole degrees) are exact. For other angles the
    /// block is large enough for the rotated corners; there is no interpolation, and pixels without a source
    /// are not written.
    virtual QZPixelBlock* Rotate(float degrees);
    /// Rotates the block itself.
    virtual void RotateThis(float degrees);

    /// A copy with the rows in reverse order.
    virtual QZPixelBlock* FlipVertical();

    /// The first pixel of row 0.
    void* GetPointer() const { return m_pixels; }
    int GetWidth() const { return m_width; }
    int GetHeight() const { return m_height; }
    /// The size. The block owns the object.
    QZSize* GetSize() const { return m_size; }
    /// The bytes of the pixels without the row table.
    QZInt64 GetDataSize() const { return QZInt64{4} * m_width * m_height; }

    /// The pen: the colour of SetPixel(x, y) and of points without a colour. Without alpha it is opaque.
    void SetColor(unsigned char red, unsigned char green, unsigned char blue);
    void SetColor(unsigned int color) { m_color = color; }
    unsigned int GetColor() const { return m_color; }

    /// Copies size and pixels of the other block.
    void Set(const QZPixelBlock* other);
    /// Resamples the block to the new size.
    void NewSize(int width, int height);

    /// Sets the alpha of every pixel.
    void SetAlpha(unsigned char alpha);
    /// Sets the alpha from a colour channel: 255 - blue for the mask 0xFF. For 0xFF00 and 0xFF0000 a carry
    /// changes the word too. The first three pixels do not change.
    void SetColorToAlpha(unsigned int mask);

    /// Reads a 32-bit bitmap. Signature and depth are not tested. The rows keep the order of the file: a
    /// bottom-up file gives the picture upside down, and ToFileBitmap writes it back the right way up.
    /// It trusts the head, whose sizes decide how much memory it takes: for files from strangers use
    /// TryReadBitmap32.
    /// @throws QZIOException 4096 for a missing file
    static QZPixelBlock* FromFileBitmap32(QZString* path);
    /// Reads a file of ToFileBin. The head is not tested: for files from strangers use TryReadBin.
    /// @throws QZIOException 4096 for a missing file
    static QZPixelBlock* FromFileBin(QZString* path);

    /// Additions: checked readers. They compare the head with the size of the file and with the limits before
    /// they take memory for pixels, so a refused file costs a read of its head. What they accept, they read
    /// as FromFileBitmap32 and FromFileBin do. The bitmap has its signature, one plane of 32 bits, no
    /// compression and no negative height; the bin file has its first word, and the count of its pixels. The
    /// forms with bytes read a file that is in memory; null bytes are an empty file.
    /// @param block   set only when the result is 1; give the block back with Recycle
    /// @param error   set only when the result is 0; may be null
    /// @return 1, or 0 for a file that is refused
    /// @throws QZIOException 4096 for a missing file, else as QZFile::Open and QZFile::Read do
    /// @throws QZException 4352 when there is no memory, 256 for a negative size
    static QZBool TryReadBitmap32(QZString* path, QZPixelBlock** block, QZPixelReadError* error = nullptr,
                                  const QZPixelReadLimits& limits = QZPixelReadLimits());
    static QZBool TryReadBitmap32(const void* bytes, QZInt64 size, QZPixelBlock** block,
                                  QZPixelReadError* error = nullptr,
                                  const QZPixelReadLimits& limits = QZPixelReadLimits());
    static QZBool TryReadBin(QZString* path, QZPixelBlock** block, QZPixelReadError* error = nullptr,
                             const QZPixelReadLimits& limits = QZPixelReadLimits());
    static QZBool TryReadBin(const void* bytes, QZInt64 size, QZPixelBlock** block,
                             QZPixelReadError* error = nullptr,
                             const QZPixelReadLimits& limits = QZPixelReadLimits());

    /// Writes a new file: a head of seven 64-bit words (0x8000100, three zeros, width, height, bytes of the
    /// pixels), then the pixels. True.
    /// @throws QZIOException as QZFile::Create and QZFile::Open do
    QZBool ToFileBin(QZString* path);
    /// A whole bitmap file, bottom row first; give it back with Recycle.
    QZData* ToFileBitmap();
    /// Writes the bitmap to a new file and returns its size in bytes.
    int ToFileBitmap(QZString* path);

    /// Deletes the object and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZPixelBlock** block);
    static void Recycle(QZData** data);

protected:
    /// Fills the row table, for a buffer that is new or has moved.
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
