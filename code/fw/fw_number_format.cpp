#include "fw/internal/fw_number_format.h"

#include <algorithm>

#include "fw/fw_string.h"
#include "fw/internal/fw_number_text.h"

namespace
{
/// The decimal text of a number with leading zeros up to the width.
int WritePadded(QZWChar* to, QZInt64 value, int width)
{
    QZWChar digits[number::kBufferUnits];
    const QZUInt64 magnitude = value < 0 ? 0 - static_cast<QZUInt64>(value) : static_cast<QZUInt64>(value);
    int count = number::WriteUInt64(digits, magnitude);
    int written = 0;
    if (value < 0) to[written++] = '-';
    for (int zeros = std::min(width, 20) - count; zeros > 0; --zeros) to[written++] = '0';
    std::copy(digits, digits + count, to + written);
    return written + count;
}

void PutNumber(QZString* text, QZInt64 position, QZInt64 value, int width)
{
    QZWChar digits[number::kBufferUnits];
    int count = WritePadded(digits, value, width);
    digits[count] = 0;
    // The first digit replaces the "%", so that the units before it need not move.
    text->GetPointer()[position] = digits[0];
    if (count > 1) text->Insert(position + 1, digits + 1);
}
}  // namespace

bool QZFormatFirst(QZString* text, QZInt64 value, int width)
{
    QZInt64 position = text->IndexOf(static_cast<QZWChar>('%'));
    if (position < 0) return false;
    PutNumber(text, position, value, width);
    return true;
}

bool QZFormatLast(QZString* text, QZInt64 value, int width)
{
    const QZWChar* units = text->GetPointer();
    QZInt64 position = text->GetLength() - 1;
    while (position >= 0 && units[position] != '%') --position;
    if (position < 0) return false;
    PutNumber(text, position, value, width);
    return true;
}
