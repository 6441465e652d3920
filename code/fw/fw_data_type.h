#ifndef QZLIB_FW_DATA_TYPE_H
#define QZLIB_FW_DATA_TYPE_H

#include "sys/sys_types.h"

/// The types of values in tables, packages and the database.
class QZ_API QZDataType
{
public:
    /// Plain bytes, under three names.
    static const QZInt64 ANY = 0x2000000;
    static const QZInt64 BINARY = 0x2000000;
    static const QZInt64 DATATYPEVALUE = 0x2000000;

    /// Text in the narrow page, in UTF-16 and in UTF-8.
    static const QZInt64 TEXTGB2312 = 0x2010100;
    static const QZInt64 TEXTUTF16LE = 0x2010200;
    /// The number is that of QZEncodingType::UTF16BE: stored values contain it.
    static const QZInt64 TEXTUTF8 = 0x2010300;

    static const QZInt64 BMP32 = 0x2020100;
    static const QZInt64 BMP24 = 0x2020200;
    /// The library's own bitmaps.
    static const QZInt64 QZBMP32 = 0x2030100;
    static const QZInt64 QZBMP24 = 0x2030200;

    /// Arrays: the first element is the count of those that follow.
    static const QZInt64 ARRAYINT32 = 0x2040100;
    static const QZInt64 ARRAYINT64 = 0x2040200;
    static const QZInt64 ARRAYDOUBLE = 0x2040300;

    static const QZInt64 WAVE8000HZ = 0x2050100;
    static const QZInt64 WAVE44100HZ = 0x2050200;
    static const QZInt64 WAVE48000HZ = 0x2050300;
    static const QZInt64 WAVE96000HZ = 0x2050400;

    /// A package, under two names.
    static const QZInt64 ARRAYDATA = 0x2060100;
    static const QZInt64 INFOLIST = 0x2060100;

    static const QZInt64 FILEBIN = 0x2070100;
    static const QZInt64 FILEJPG = 0x2070200;
    static const QZInt64 FILEPNG = 0x2070300;
    static const QZInt64 FILEBMP = 0x2070400;
    static const QZInt64 FILEGIF = 0x2070500;
    static const QZInt64 FILETIF = 0x2070600;

    /// The types that have a class of their own, each with this number as its Type.
    static const QZInt64 BOOL = 0x2080100;
    static const QZInt64 INT8 = 0x2080200;
    static const QZInt64 INT16 = 0x2080300;
    static const QZInt64 INT32 = 0x2080400;
    static const QZInt64 INT64 = 0x2080500;
    static const QZInt64 DOUBLE = 0x2080600;
    static const QZInt64 TIMESTAMP = 0x2080700;
    static const QZInt64 DATETIME = 0x2080800;
    static const QZInt64 BYTE = 0x2080900;
    static const QZInt64 FLOAT = 0x2081000;

    /// True for the whole range 0x2000000 to 0x20FFFFF, named or not.
    static QZBool IsDataType(int value);
};

#endif
