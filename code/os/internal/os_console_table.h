#ifndef QZLIB_OS_CONSOLE_TABLE_H
#define QZLIB_OS_CONSOLE_TABLE_H

/// Tables as text for a terminal. Internal.

#include "sys/sys_types.h"

class QZDataTable;
class QZString;

/// Columns of a terminal that a character takes: 2 for the wide characters of East Asian text, 0 for
/// combining marks, else 1.
int QZConsoleWidth(QZUInt32 codePoint);

/// Appends the table to the text: column names and rows in a box of U+2500 to U+253C.
void QZConsoleTableText(QZDataTable* table, QZString* text);

#endif
