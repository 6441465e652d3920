#ifndef QZLIB_CODEC_COMPRESSION_H
#define QZLIB_CODEC_COMPRESSION_H

#include "sys/sys_types.h"

/// The library's own codec for the bits of 32-bit images and for other byte buffers.
///
/// It works in stages, each in place on the caller's buffer: Divide splits a buffer into planes, Compress
/// codes runs and small differences, RectToLine brings pixels of a square together. Each stage leaves a
/// marker in the last four bytes, so that a reader peels the stages off from the tail. docs/codec.md has all
/// bytes.
///
/// The caller owns the buffer and gives it room for every result; nothing is checked against its real size.
/// Compress needs room for 2 * length + 64 bytes, Divide for 8 * planes + 8 more than the length, RectToLine
/// for 20 more than the pixels, Decompress for the length that DecompressGetSourceLength tells. Whoever
/// decodes streams of strangers asks Check first: Decompress itself follows a stream wherever it leads.
///
/// Flat areas lose a little: blocks with differences of one and two bits do not return all bytes exactly.
///
/// Temporary buffers come from the memory manager, one or two for a stage; where there is no memory a
/// QZException with QZLastError (4352 when that is 0) is thrown and the buffer is as it was. One object
/// serves one thread at a time; objects are independent.
class QZ_API QZCompression
{
public:
    QZCompression();
    ~QZCompression();  // NOLINT(performance-trivially-destructible): hosts link to it

    /// Splits a buffer into planes: plane j has every planes-th byte, beginning with byte j.
    /// @return the new length, 8 * planes + length + 8
    QZULong Divide(unsigned char* buffer, QZULong length, QZULong planes);

    /// Undoes Divide. Places outside the buffer, in a damaged head, are left out.
    /// @return the length of the source, 0 for a head that is longer than the data
    /// @throws QZException 5888 with "It's not Divided data!\n" when the marker is missing
    QZULong UnDivide(unsigned char* buffer, QZULong length);

    /// Codes runs and small differences.
    /// @return the new length; 13 for an empty buffer
    QZULong Compress(unsigned char* buffer, QZULong length);

    /// The length that a compressed stream has when it is decoded, 0xFFFFFFFF without the marker or with less
    /// than a whole trailer.
    QZULong DecompressGetSourceLength(const void* buffer, QZULong length);

    /// Undoes Compress.
    ///
    /// What a stream decodes to beyond the stated length and some slack is left out, bytes that a block
    /// expects behind the end count as 0. A block with an unknown tag is waited upon: the call does not end
    /// unless another thread changes the tag.
    /// @return the count of decoded bytes; 0, with a message on the standard output and the buffer as it was,
    ///         where DecompressGetSourceLength gives 0xFFFFFFFF
    QZULong Decompress(unsigned char* buffer, QZULong length);

    /// True when the buffer holds a compressed stream that can be decoded to its end block, with known blocks
    /// only that lie whole inside the stream and give no more bytes than the stream states: Decompress then
    /// ends and needs room for DecompressGetSourceLength bytes. Reads only; any thread.
    static QZBool Check(const void* buffer, QZULong length);

    /// Reorders the pixels of an image into squares of `tile` pixels. The columns behind the last whole
    /// square are left out when the height is a multiple of `tile`.
    /// @return the new length
    /// @throws QZException 256 for a tile of 0
    QZULong RectToLine(unsigned char* buffer, QZLong width, QZLong height, QZULong tile);

    /// Undoes RectToLine: width * height pixels from the buffer's start, 0 for those that were left out. A
    /// head that does not fit the length is damaged; nothing is then written behind the length.
    /// @return the length less 4, not that of the pixels; the length itself, and nothing happens, without the
    /// marker
    QZULong LineToRect(unsigned char* buffer, QZULong length);

    /// All stages for an image of width * height pixels.
    /// @param tiled  with RectToLine, in squares of 8
    /// @return the new length
    QZULong BitmapBitsCompress32(QZLong width, QZLong height, unsigned char* buffer, bool tiled);

    /// Peels off stage after stage down to the plain pixels.
    /// @return the length of what is left, which is 12 more than the pixels after a tiled image
    /// @throws QZException 5888 for an unknown marker, and so for most tiled images with left-out columns
    QZULong BitmapBitsDecompress32(unsigned char* buffer, QZULong length);

private:
    QZULong DivideAndCompress(unsigned char* buffer, QZULong length);
    QZULong DecompressAndUnDivide(unsigned char* buffer, QZULong length);
    QZUInt32 EncodeTo(QZByte* target, const QZByte* source, QZULong length);
    QZUInt32 Encode(QZUInt32 length);
    void WriteRaw(QZUInt32 first, QZUInt32 end);
    void WriteBlock(QZByte tag, QZByte base, QZUInt32 first, QZUInt32 end);
    void WriteDifferences(QZByte tag, QZByte base, QZUInt32 first, QZUInt32 count);
    void Put(QZByte byte) { m_destination[m_written++] = byte; }

    QZByte m_scratch[4096] = {};
    const QZByte* m_source = nullptr;
    QZByte* m_destination = nullptr;
    QZUInt32 m_written = 0;
};

#endif
