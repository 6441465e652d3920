#ifndef QZLIB_CODEC_BASE64_H
#define QZLIB_CODEC_BASE64_H

#include "sys/sys_types.h"

class QZData;
class QZString;

/// Base64 of RFC 4648: the alphabet with "+" and "/", padded with "=", in one line.
///
/// A string is coded as the bytes of its UTF-16LE text, so that decoding returns every unit. Results are new
/// objects from the factories; give them back with Recycle. Only static operations without state; any thread.
class QZ_API QZBase64
{
public:
    /// @throws QZException 256 for null
    static QZString* EnCode(QZData* data);
    static QZString* EnCode(QZString* text);

    /// The bytes of a Base64 text; an empty text has none.
    /// @throws QZException 256 for null, 4864 for a text for which IsBase64 is false
    static QZData* DeCode(QZString* text);

    /// The same bytes as UTF-16LE text. A single byte at the end is ignored.
    static QZString* DeCodeToString(QZString* text);

    /// True when the length is a multiple of four characters, all of the alphabet, but for at most two "=" at
    /// the end. An empty text is Base64, a null pointer is not.
    static QZBool IsBase64(QZString* text);
    /// @param size  bytes of text
    static QZBool IsBase64(const QZWChar* text, QZInt64 size);

    static void Recycle(QZString** text);
    static void Recycle(QZData** data);
};

#endif
