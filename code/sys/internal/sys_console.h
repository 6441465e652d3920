#ifndef QZLIB_SYS_CONSOLE_H
#define QZLIB_SYS_CONSOLE_H

/// Text on the standard output and from the standard input.

#include "sys/sys_types.h"

namespace os
{

/// Writes `units` UTF-16 units to the standard output without buffering: UTF-16 to a Windows console, UTF-8
/// to everything else. Errors are ignored.
void ConsoleWrite(const QZWChar* text, QZInt64 units);
/// Returns the next line of the standard input without its line end, with a terminating zero; null at the end
/// of the input. Free it with ConsoleTextFree.
QZWChar* ConsoleReadLine();
/// Frees a line. Null is allowed.
void ConsoleTextFree(QZWChar* text);

}  // namespace os

#endif
