#include "fw/fw_data_type.h"

const QZInt64 QZDataType::ANY;
const QZInt64 QZDataType::BINARY;
const QZInt64 QZDataType::DATATYPEVALUE;
const QZInt64 QZDataType::TEXTGB2312;
const QZInt64 QZDataType::TEXTUTF16LE;
const QZInt64 QZDataType::TEXTUTF8;
const QZInt64 QZDataType::BMP32;
const QZInt64 QZDataType::BMP24;
const QZInt64 QZDataType::QZBMP32;
const QZInt64 QZDataType::QZBMP24;
const QZInt64 QZDataType::ARRAYINT32;
const QZInt64 QZDataType::ARRAYINT64;
const QZInt64 QZDataType::ARRAYDOUBLE;
const QZInt64 QZDataType::WAVE8000HZ;
const QZInt64 QZDataType::WAVE44100HZ;
const QZInt64 QZDataType::WAVE48000HZ;
const QZInt64 QZDataType::WAVE96000HZ;
const QZInt64 QZDataType::ARRAYDATA;
const QZInt64 QZDataType::INFOLIST;
const QZInt64 QZDataType::FILEBIN;
const QZInt64 QZDataType::FILEJPG;
const QZInt64 QZDataType::FILEPNG;
const QZInt64 QZDataType::FILEBMP;
const QZInt64 QZDataType::FILEGIF;
const QZInt64 QZDataType::FILETIF;
const QZInt64 QZDataType::BOOL;
const QZInt64 QZDataType::INT8;
const QZInt64 QZDataType::INT16;
const QZInt64 QZDataType::INT32;
const QZInt64 QZDataType::INT64;
const QZInt64 QZDataType::DOUBLE;
const QZInt64 QZDataType::TIMESTAMP;
const QZInt64 QZDataType::DATETIME;
const QZInt64 QZDataType::BYTE;
const QZInt64 QZDataType::FLOAT;

QZBool QZDataType::IsDataType(int value)
{
    // Only the range is checked; numbers without a name pass too.
    return value / 0x100000 == 32;
}
