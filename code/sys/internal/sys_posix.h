#ifndef QZLIB_SYS_POSIX_H
#define QZLIB_SYS_POSIX_H

/// What the POSIX sources of the seam share. Only they include it.

#include <string>
#include <string_view>

#include "sys/sys_types.h"

namespace os
{

/// Converts UTF-16 to the bytes of a path or text. A lone surrogate that ToText made from a raw byte becomes
/// this byte again.
std::string ToBytes(const QZWChar* text);
std::string ToBytes(const QZWChar* text, QZInt64 units);
/// Converts UTF-8 to UTF-16. A byte that is not valid UTF-8 becomes U+DC80 + (byte - 0x80), so that every
/// file name can be shown as text and converted back.
std::u16string ToText(std::string_view bytes);

/// The number of sys_error.h or Windows that reports a socket failure with this errno.
QZUInt32 SocketNumberOf(int native);

/// Delays ThreadTerminate for the calling thread while it holds something that other threads need, for
/// example the lock of the heap. Holds nest; the thread ends at the end of the outermost one.
class TerminationHold
{
public:
    TerminationHold();
    ~TerminationHold();
    TerminationHold(const TerminationHold&) = delete;
    TerminationHold& operator=(const TerminationHold&) = delete;
};

}  // namespace os

#endif
