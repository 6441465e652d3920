#ifndef QZLIB_FW_STRING_LISTS_H
#define QZLIB_FW_STRING_LISTS_H

class QZStringCollection;

/// JSON objects of QZJsonFactory count as owners of a list of names from QZStringFactory: hosts see that in
/// its figures. They need no such list, so these operations keep the figures right without one in each
/// object. Internal.

/// Takes an idle list out of the factory's cache; null when none is idle.
QZStringCollection* QZStringListTake();

/// Gives a list back, or for null adds a new idle one, as the end of an owner does. When many are idle
/// already, null adds nothing.
void QZStringListGive(QZStringCollection* list);

#endif
