#ifndef QZLIB_FW_DATETIME_TEXT_H
#define QZLIB_FW_DATETIME_TEXT_H

class QZData;
class QZString;

/// Appends the text of a date and time that any buffer holds in the layout of QZDataDatetime; see
/// QZDataDatetime::ToString.
void QZDatetimeText(const QZData* words, QZString* target);

#endif
