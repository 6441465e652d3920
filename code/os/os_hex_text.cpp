#include "os/os_hex_text.h"

#include "fw/internal/fw_hex_text.h"

const QZInt64 QZText::Type;

QZText::QZText() = default;
QZText::~QZText() = default;

QZInt64 QZText::GetType() { return Type; }

long long QZText::TextToQZData(void* out, const QZWChar* text, long long sizeInBytes)
{
    return out != nullptr ? hex::Read(out, text, sizeInBytes / 2) : sizeInBytes;
}

long long QZText::QZDataToText(long long firstOffset, QZWChar* out, const void* data, long long size,
                               long long bytesPerLine, unsigned char showOffsets,
                               unsigned char spaceAfterByte)
{
    return 2 *
           hex::Write(out, data, size, {firstOffset, bytesPerLine, showOffsets != 0, spaceAfterByte != 0});
}
