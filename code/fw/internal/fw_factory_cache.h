#ifndef QZLIB_FW_FACTORY_CACHE_H
#define QZLIB_FW_FACTORY_CACHE_H

#include "fw/fw_object_cache.h"

// What factories do with the caches that they keep. Internal.

/// An object out of a cache of T.
template <typename T>
T* QZTake(QZObjectCache* cache)
{
    return static_cast<T*>(cache->Out());
}

/// Ends a cache that a factory made: idle objects go, the variable becomes null.
inline void QZEndCache(QZObjectCache** cache)
{
    delete *cache;
    *cache = nullptr;
}

#endif
