#ifndef QZLIB_SYS_CONSOLE_H
#define QZLIB_SYS_CONSOLE_H

/// The standard output and input as text.

#include "sys/sys_types.h"

namespace os
{

/// Writes text to the standard output at once: to a terminal as text, to a file or pipe as UTF-8.
void ConsoleWrite(const QZWChar* text, QZInt64 units);
/// The next line of the standard input without its line end, with a terminator; null at the end of the input.
/// Given back with ConsoleTextFree.
QZWChar* ConsoleReadLine();
void ConsoleTextFree(QZWChar* text);

}  // namespace os

#endif
