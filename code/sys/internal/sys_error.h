#ifndef QZLIB_SYS_ERROR_H
#define QZLIB_SYS_ERROR_H

/// Error numbers and texts of the system, and its report of a broken assertion.

#include "sys/sys_types.h"

namespace os
{

/// The calling thread's last error, the system's own number.
QZ_API QZUInt32 LastError();
QZ_API void SetLastError(QZUInt32 error);

/// The number with which an exclusive creation finds its file there.
QZUInt32 ErrorFileExists();
/// The number for "not enough memory".
QZUInt32 ErrorNoMemory();
/// The number with which making a directory finds it there.
QZUInt32 ErrorDirectoryExists();
/// The number for memory that the caller does not have.
QZUInt32 ErrorBadAddress();
/// The number for a path that is too long.
QZUInt32 ErrorNameTooLong();
/// The number for something that is not there.
QZUInt32 ErrorNotFound();

/// The system's text of an error number with a terminator, in *text; give it back with ErrorTextFree. Null in
/// *text and false with LastError set when the system knows no such number.
bool ErrorText(QZUInt32 error, QZWChar** text);
void ErrorTextFree(QZWChar* text);

/// The platform's report of a broken assertion, in the form of its C library. Does not come back on Linux.
void AssertReport(const char* expression, const char* file, int line);

// Numbers of socket failures, one set on both platforms; see sys_socket.h.

/// "Try again": nothing to receive, or no room to send, on a socket that does not block.
constexpr QZUInt32 kSocketTryAgain = 11002;
constexpr QZUInt32 kSocketNoBuffers = 10055;
constexpr QZUInt32 kSocketNotASocket = 10038;
constexpr QZUInt32 kSocketBadAddress = 10014;

}  // namespace os

#endif
