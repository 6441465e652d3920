#ifndef QZLIB_FW_NAMED_CACHE_H
#define QZLIB_FW_NAMED_CACHE_H

#include "fw/fw_object_cache.h"

/// A named cache of a class whose NewObject and DeleteObject are protected. It derives from that class for
/// the sole purpose of reaching the two; that part is a complete, idle object.
#define QZLIB_NAMED_CACHE(Cache, Class)                                                            \
    class QZ_API Cache : public QZObjectCache, private Class                                       \
    {                                                                                              \
    public:                                                                                        \
        Cache(QZInt64 createdLimit, QZInt64 idleLimit) : QZObjectCache(createdLimit, idleLimit) {} \
        ~Cache() override { QZObjectCache::Collect(0); }                                           \
        QZInt64 GetType() override { return QZObjectCache::GetType(); }                            \
        QZInt64 GetMemorySize() override { return QZObjectCache::GetMemorySize(); }                \
                                                                                                   \
    protected:                                                                                     \
        QZObject* NewObject() override { return Class::NewObject(); }                              \
        void DeleteObject(QZObject* object) override { Class::DeleteObject(object); }              \
    }

#endif
