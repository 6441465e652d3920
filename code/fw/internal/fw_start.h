#ifndef QZLIB_FW_START_H
#define QZLIB_FW_START_H

#include "fw/fw_object_cache.h"

/// The start and the end of the factories, and what their sources do with the caches that they own.

/// QZLibInit and QZLibDispose call these. Each may be called twice; the second call does nothing.
void QZEnvironmentInit();
void QZEnvironmentEnd();
void QZDataFactoryInit();
void QZDataFactoryEnd();
void QZStringFactoryInit();
void QZStringFactoryEnd();
void QZExceptionFactoryInit();
void QZExceptionFactoryEnd();

/// An object from a cache of T.
template <typename T>
T* QZTake(QZObjectCache* cache)
{
    return static_cast<T*>(cache->Out());
}

/// Deletes a cache with its idle objects and sets the variable to null.
inline void QZEndCache(QZObjectCache** cache)
{
    delete *cache;
    *cache = nullptr;
}

#endif
