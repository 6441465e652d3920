#ifndef QZLIB_OS_HEX_TEXT_H
#define QZLIB_OS_HEX_TEXT_H

#include "fw/fw_object.h"

/// Hexadecimal dumps in wide characters, there and back. Stateless; any thread; nothing throws.
class QZ_API QZText : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF00;

    QZText();
    ~QZText() override;

    QZInt64 GetType() override;

    /// Reads the bytes that a dump shows: offset labels in square brackets and everything that is no
    /// hexadecimal digit are passed over, a last digit without partner is dropped.
    /// @param sizeInBytes  size of the text, two bytes for each character
    /// @return the bytes stored; with out null sizeInBytes as it stands, an upper bound
    static long long TextToQZData(void* out, const QZWChar* text, long long sizeInBytes);

    /// Writes a dump. No terminator is written.
    /// @param firstOffset   what the label of the first byte shows
    /// @param bytesPerLine  0 or less: one line without labels
    /// @return the bytes written, two for each character; with out null the bytes needed
    static long long QZDataToText(long long firstOffset, QZWChar* out, const void* data, long long size,
                                  long long bytesPerLine, unsigned char showOffsets,
                                  unsigned char spaceAfterByte);
};

#endif
