#ifndef QZLIB_SYS_ERROR_H
#define QZLIB_SYS_ERROR_H

/// The calling thread's last error, error numbers with their texts, and the report of a failed assertion.

#include "sys/sys_types.h"

namespace os
{

/// Get and set the calling thread's last error: errno on Linux, GetLastError on Windows. After a socket
/// operation it is one of the socket numbers below.
QZ_API QZUInt32 LastError();
QZ_API void SetLastError(QZUInt32 error);

// The system's numbers of some errors.

/// A file that is to be created exists.
QZUInt32 ErrorFileExists();
/// Not enough memory.
QZUInt32 ErrorNoMemory();
/// A directory that is to be made exists.
QZUInt32 ErrorDirectoryExists();
/// An invalid memory address.
QZUInt32 ErrorBadAddress();
/// A path is too long.
QZUInt32 ErrorNameTooLong();
/// Something does not exist.
QZUInt32 ErrorNotFound();
/// Another handle has the file open and does not share it.
QZUInt32 ErrorInUse();

/// Stores the system's text of an error number in *text, with a terminating zero; free it with ErrorTextFree.
/// False with null in *text and LastError set when the system has no text for the number.
bool ErrorText(QZUInt32 error, QZWChar** text);
/// Frees a text. Null is allowed.
void ErrorTextFree(QZWChar* text);

/// Reports a failed assertion as the platform's C library does. On Linux it ends the process.
void AssertReport(const char* expression, const char* file, int line);

// Numbers of socket failures, the same on both platforms; see sys_socket.h.

/// A non-blocking socket has nothing to receive or no room to send.
constexpr QZUInt32 kSocketTryAgain = 11002;
/// The system has no buffers left.
constexpr QZUInt32 kSocketNoBuffers = 10055;
/// The handle is no socket.
constexpr QZUInt32 kSocketNotASocket = 10038;
/// An invalid memory address.
constexpr QZUInt32 kSocketBadAddress = 10014;

}  // namespace os

#endif
