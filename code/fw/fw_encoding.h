#ifndef QZLIB_FW_ENCODING_H
#define QZLIB_FW_ENCODING_H

#include "fw/fw_encoding_type.h"
#include "sys/sys_types.h"

class QZData;
class QZString;

/// Converts text between encodings. All operations are static and may be called from any thread; `type` is an
/// encoding of QZEncodingType, sizes are in bytes. No terminator is written, and none is needed.
class QZ_API QZEncoding
{
public:
    /// The text in the given encoding, as a new QZData from the factory or in the given one.
    /// @throws QZException 256 for a null text, else with QZLastError (4352 when that is 0) for an encoding
    /// without conversion and for lack of memory
    static QZData* GetData(QZInt64 type, QZString* text);
    static void GetData(QZInt64 type, QZString* text, QZData* target);
    /// The same of a raw block, whose type word names the encoding of its text.
    static QZData* GetData(QZInt64 type, void* block);
    static void GetData(QZInt64 type, void* block, QZData* target);

    /// Writes the text into a buffer of `size` bytes and returns the number of bytes written, see Convert.
    static QZInt64 GetBytes(QZInt64 type, QZString* text, void* buffer, QZInt64 size);
    static QZInt64 GetBytes(QZInt64 type, void* block, void* buffer, QZInt64 size);

    /// Bytes of the given encoding as a new string from the factory, or in the given one.
    /// @throws QZException 256 for null bytes with another size than 0, else with QZLastError (4352 when that
    /// is 0) for an encoding without conversion and for lack of memory
    static QZString* GetString(QZInt64 type, const void* text, QZInt64 size);
    static void GetString(QZInt64 type, const void* text, QZInt64 size, QZString* target);
    static QZString* GetString(QZInt64 type, QZData* text);
    static void GetString(QZInt64 type, QZData* text, QZString* target);

    /// True for well-formed UTF-8, empty input included; a leading byte order mark is skipped.
    static QZBool IsLegalUTF8(const void* text, QZInt64 size);

    /// Converts. With a null target it returns the bytes needed; else it stops when the target is full and
    /// returns the bytes written. No character is written in part, except that a high surrogate is written
    /// when its low one does not fit. -1 for an encoding without conversion, for a null source with another
    /// size than 0 and a negative source size (QZLastError 256), and for lack of memory (QZLastError 4352).
    static QZInt64 Convert(QZInt64 fromType, const void* from, QZInt64 fromSize, QZInt64 toType, void* to,
                           QZInt64 toSize);

    static void Recycle(QZString** text);
    static void Recycle(QZData** data);
};

#endif
