#ifndef QZLIB_FW_COLLECT_H
#define QZLIB_FW_COLLECT_H

#include "sys/sys_types.h"

/// The factories whose caches a collection collects. Each installs its function, so that the frame collects
/// the factories of higher folders without including them.
enum class QZCollector
{
    Data,
    Exception,
    String,
    Http,
    Json,
};

/// Stores the function of a factory; the factories call this before main. True.
bool QZCollectInstall(QZCollector collector, void (*collect)(QZBool partial));

/// Collects the caches of one factory.
void QZCollect(QZCollector collector, QZBool partial);

#endif
