#ifndef QZLIB_FW_STATUS_H
#define QZLIB_FW_STATUS_H

#include "sys/sys_types.h"

class QZJsonObject;
class QZObjectCache;

/// One figure that a factory reports: how many objects a cache holds.
struct QZStatusFigure
{
    const QZWChar* Name;
    /// Counted when its number is made: the numbers before it come from caches too, and hosts see that.
    QZObjectCache* Cache;
};

/// How status records become JSON objects. The JSON classes are in a higher folder; they install their form,
/// so that the factories of the frame need not include them.
struct QZStatusForm
{
    QZJsonObject* (*Make)(const QZStatusFigure* figures, int count);
    void (*Recycle)(QZJsonObject** status);
};

/// Stores the form; the JSON classes call this before main. True.
bool QZStatusInstall(const QZStatusForm* form);

/// A new object with a number for each figure, in their order. The caller gives it back with QZStatusRecycle.
QZJsonObject* QZStatusMake(const QZStatusFigure* figures, int count);
void QZStatusRecycle(QZJsonObject** status);

#endif
