#ifndef QZLIB_CODEC_COMPRESSION_H
#define QZLIB_CODEC_COMPRESSION_H

#include "sys/sys_types.h"

/// The library's own codec for the bits of 32-bit images and for other byte buffers.
///
/// It works in stages, each in place in the caller's buffer: Divide splits a buffer into planes, Compress
/// codes runs and small differences, RectToLine collects the pixels of squares. Each stage writes a marker
/// into the last four bytes, so that a reader can undo the stages from the last to the first. docs/codec.md
/// documents all bytes.
///
/// The caller owns the buffer and makes it large enough for every result; the size is not tested. Compress
/// needs 2 * length + 64 bytes, Divide 8 * planes + 8 more than the length, RectToLine 20 more than the
/// pixels, Decompress the result of DecompressGetSourceLength. For streams from an untrusted source call
/// Check first: Decompress does not validate a stream. For images from one there is
/// TryBitmapBitsDecompress32.
///
/// Compression is lossy: blocks with differences of one and two bits do not return all bytes exactly.
///
/// Each stage allocates one or two temporary buffers from the memory manager. Without memory a QZException
/// with QZLastError (4352 when that is 0) is thrown, and the buffer is unchanged. One thread at a time;
/// objects are independent.
class QZ_API QZCompression
{
public:
    QZCompression();
    ~QZCompression();  // NOLINT(performance-trivially-destructible): hosts link to it

    /// Splits a buffer into planes: plane j has every planes-th byte, beginning with byte j.
    /// @return the new length, 8 * planes + length + 8
    QZULong Divide(unsigned char* buffer, QZULong length, QZULong planes);

    /// Undoes Divide. Positions of a damaged head that lie outside the buffer are ignored.
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
    /// Decoded bytes past the stated length and some slack are dropped; missing bytes at the end of the
    /// stream count as 0. At a block with an unknown tag the call does not return unless another thread
    /// changes the tag.
    /// Where DecompressGetSourceLength returns 0xFFFFFFFF, it writes a message to the standard output, leaves
    /// the buffer as it is and returns 0.
    /// @return the count of decoded bytes
    QZULong Decompress(unsigned char* buffer, QZULong length);

    /// True when the buffer holds a compressed stream that can be decoded to its end block, with known blocks
    /// only that lie whole inside the stream and give no more bytes than the stream states: Decompress then
    /// ends and needs room for DecompressGetSourceLength bytes. Reads only; any thread.
    static QZBool Check(const void* buffer, QZULong length);

    /// Reorders the pixels of an image into squares of `tile` pixels. Columns after the last whole square are
    /// dropped when the height is a multiple of `tile`.
    /// @return the new length
    /// @throws QZException 256 for a tile of 0
    QZULong RectToLine(unsigned char* buffer, QZLong width, QZLong height, QZULong tile);

    /// Undoes RectToLine: writes width * height pixels from the start of the buffer, 0 for dropped pixels.
    /// When a damaged head does not fit the length, nothing is written after the length.
    /// Without the marker nothing happens, and the result is the length itself.
    /// @return the length less 4, which is not the length of the pixels
    QZULong LineToRect(unsigned char* buffer, QZULong length);

    /// All stages for an image of width * height pixels.
    /// @param tiled  with RectToLine, in squares of 8
    /// @return the new length
    QZULong BitmapBitsCompress32(QZLong width, QZLong height, unsigned char* buffer, bool tiled);

    /// Peels off stage after stage down to the plain pixels.
    /// @return the length of what is left, which is 12 more than the pixels after a tiled image
    /// @throws QZException 5888 for an unknown marker, and so for most tiled images with left-out columns
    QZULong BitmapBitsDecompress32(unsigned char* buffer, QZULong length);

    /// An addition: BitmapBitsDecompress32 for images from strangers, whose heads and stages it tests first.
    /// Nothing is written past the room, and no stage takes more memory than the room, some slack, and what
    /// the stages of an image of that size take.
    /// @param room    the size of the buffer, and the most bytes that a stage may give
    /// @param result  what BitmapBitsDecompress32 returns; set only when the result is 1
    /// @return 1, or 0 for an image that is refused: an unknown marker, a compressed stream that Check
    /// refuses, sizes that contradict each other or exceed the room, more than 16 stages. The content of the
    /// buffer is then undefined.
    QZBool TryBitmapBitsDecompress32(unsigned char* buffer, QZULong length, QZULong room, QZULong* result);

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
