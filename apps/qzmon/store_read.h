#ifndef QZLIB_APPS_QZMON_STORE_READ_H
#define QZLIB_APPS_QZMON_STORE_READ_H

#include "store.h"

// Functions that read an open database: the monitor's own, or a copy of it.

namespace qzmon
{

bool ReadDouble(QZDbTable* table, QZInt64 row, QZInt64 field, double* value);
bool ReadTime(QZDbTable* table, QZInt64 row, QZInt64* time);
std::string ReadText(QZDbTable* table, QZInt64 row, QZInt64 field);
std::vector<QZInt64> RowsOf(QZDbTable* table);

/// Rows of a table as texts, the last one first.
TablePage ReadPage(QZDbTable* table, const std::vector<QZInt64>& rows, QZInt64 page, QZInt64 size);

std::vector<Correction> ReadCorrections(QZDbTable* parameters);

/// The marks of the log, the oldest first.
std::vector<Snapshot> ReadSnapshots(QZChannel* channel);
/// Writes the fields of a new mark. They are no part of the state that the mark names.
void WriteMark(QZChannel* channel, const Snapshot& snapshot);

}  // namespace qzmon

#endif
