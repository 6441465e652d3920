#ifndef QZLIB_OS_HEX_TEXT_H
#define QZLIB_OS_HEX_TEXT_H

#include "fw/fw_object.h"

/// Conversion between bytes and hexadecimal dumps in UTF-16. Stateless; any thread; nothing throws.
class QZ_API QZText : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF00;

    QZText();
    ~QZText() override;

    QZInt64 GetType() override;

    /// Reads the bytes of a dump. Skips offset labels in square brackets and everything that is not a
    /// hexadecimal digit; ignores a last single digit.
    /// @param sizeInBytes  size of the text, two bytes for each character
    /// @return the number of bytes stored; when `out` is null, sizeInBytes, which is an upper bound
    static long long TextToQZData(void* out, const QZWChar* text, long long sizeInBytes);

    /// Writes a dump, without a terminating zero.
    /// @param firstOffset   the offset in the label of the first byte
    /// @param bytesPerLine  0 or less: one line without labels
    /// @return the number of bytes written, two for each character; when `out` is null, the bytes needed
    static long long QZDataToText(long long firstOffset, QZWChar* out, const void* data, long long size,
                                  long long bytesPerLine, unsigned char showOffsets,
                                  unsigned char spaceAfterByte);
};

#endif
