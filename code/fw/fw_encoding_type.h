#ifndef QZLIB_FW_ENCODING_TYPE_H
#define QZLIB_FW_ENCODING_TYPE_H

#include "sys/sys_types.h"

/// The six named text encodings. Text in UTF32BE has a name and no conversion.
class QZ_API QZEncodingType
{
public:
    /// The machine's narrow page: the ANSI page on Windows, UTF-8 elsewhere.
    static const QZInt64 ANSI = 0x2010100;
    static const QZInt64 UTF16LE = 0x2010200;
    static const QZInt64 UTF16BE = 0x2010300;
    static const QZInt64 UTF8 = 0x2010400;
    static const QZInt64 UTF32LE = 0x2010500;
    static const QZInt64 UTF32BE = 0x2010600;
};

#endif
