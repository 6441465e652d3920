#ifndef QZLIB_SYS_POSIX_H
#define QZLIB_SYS_POSIX_H

/// What the POSIX sources of the seam share among themselves. Nothing else includes it.

#include <string>
#include <string_view>

#include "sys/sys_types.h"

namespace os
{

/// UTF-16 to the bytes of a path or text; lone surrogates that stand for raw bytes become these bytes again.
std::string ToBytes(const QZWChar* text);
std::string ToBytes(const QZWChar* text, QZInt64 units);
/// Bytes to UTF-16; a byte that is no UTF-8 becomes U+DC80 + (byte - 0x80), so that every file name has a
/// text.
std::u16string ToText(std::string_view bytes);

/// The number by which a socket failure is reported, for one of errno.
QZUInt32 SocketNumberOf(int native);

/// Keeps ThreadTerminate from ending the calling thread while it holds something that other threads need, the
/// heap's lock for one. Nests; the thread ends when the outermost hold goes.
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
