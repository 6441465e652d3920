#ifndef QZLIB_FW_EXCEPTION_CACHE_H
#define QZLIB_FW_EXCEPTION_CACHE_H

#include "fw/fw_exception.h"
#include "fw/fw_object_cache.h"

// The caches of exceptions. Each derives from its exception class for the sole purpose of reaching the
// protected NewObject and DeleteObject; that part is a complete, idle exception. They only give objects out:
// a recycled exception is deleted, and the created count keeps rising.

#define QZLIB_EXCEPTION_CACHE(Cache, Class)                                                        \
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

QZLIB_EXCEPTION_CACHE(QZExceptionCache, QZException);
QZLIB_EXCEPTION_CACHE(QZIOExceptionCache, QZIOException);
QZLIB_EXCEPTION_CACHE(QZTaskExceptionCache, QZTaskException);
QZLIB_EXCEPTION_CACHE(QZDatabaseExceptionCache, QZDatabaseException);
QZLIB_EXCEPTION_CACHE(QZSocketExceptionCache, QZSocketException);
QZLIB_EXCEPTION_CACHE(QZHttpExceptionCache, QZHttpException);
QZLIB_EXCEPTION_CACHE(QZJsonExceptionCache, QZJsonException);

#undef QZLIB_EXCEPTION_CACHE

#endif
