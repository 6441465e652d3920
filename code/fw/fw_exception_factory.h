#ifndef QZLIB_FW_EXCEPTION_FACTORY_H
#define QZLIB_FW_EXCEPTION_FACTORY_H

#include "fw/fw_exception.h"
#include "fw/fw_object_cache.h"

class QZCollection;

/// Makes and takes back exceptions. The caller of Create... owns the exception and throws it; whoever catches
/// it gives it back with Recycle. Recycled exceptions are deleted, so a new one has no old trace.
class QZ_API QZExceptionFactory
{
public:
    static QZException* CreateException();
    static QZException* CreateException(const char* message);
    static QZException* CreateException(const char* message, QZInt64 code);
    static QZException* CreateException(const QZWChar* message);
    static QZException* CreateException(const QZWChar* message, QZInt64 code);
    static QZException* CreateException(QZInt64 code);
    static QZException* CreateException(QZInt64 code, QZInt64 lastError);
    static QZException* CreateException(QZString* message);
    static QZException* CreateException(QZString* message, QZInt64 code);

    static QZIOException* CreateIOException(QZInt64 code);
    static QZIOException* CreateIOException(QZInt64 code, QZInt64 lastError);
    static QZIOException* CreateIOException(const QZWChar* message, QZInt64 code);
    static QZIOException* CreateIOException(const QZWChar* message, QZInt64 code, QZInt64 lastError);

    static QZTaskException* CreateTaskException(QZInt64 code);

    static QZDatabaseException* CreateDatabaseException();
    static QZDatabaseException* CreateDatabaseException(QZInt64 code);

    static QZSocketException* CreateSocketException(QZInt64 code);
    static QZSocketException* CreateSocketException(QZInt64 code, QZInt64 lastError);

    static QZHttpException* CreateHttpException(QZInt64 code);
    static QZHttpException* CreateHttpException(const char* message, QZInt64 code);
    static QZHttpException* CreateHttpException(const QZWChar* message, QZInt64 code);
    static QZHttpException* CreateHttpException(QZString* message);
    static QZHttpException* CreateHttpException(QZInt64 code, QZInt64 lastError);

    static QZJsonException* CreateJsonException();
    static QZJsonException* CreateJsonException(QZInt64 code);

    /// Deletes the exception through the function registered for its type and clears the variable. A null in
    /// the variable is a QZLibAssert(false).
    /// @throws QZException 5888 for a type that nobody registered; the variable keeps its value
    static void Recycle(QZException** exception);
    static void Recycle(QZIOException** exception);
    static void Recycle(QZTaskException** exception);
    static void Recycle(QZDatabaseException** exception);
    static void Recycle(QZSocketException** exception);
    static void Recycle(QZHttpException** exception);
    static void Recycle(QZJsonException** exception);

    /// Registers how exceptions of a type are destroyed. A type that is registered already keeps its
    /// function.
    static void RegisterRecycleFunction(QZInt64 type, void (*function)(QZObject* exception));

    /// Collects the caches; see QZObjectCache::Collect.
    static void Collect(QZBool partial);

    /// Bytes that idle exceptions own.
    static QZInt64 GetMemorySize();

private:
    friend struct QZExceptionFactoryStart;
    static void RegisterAll();

    static QZCollection* m_types;
    static QZCollection* m_functions;
    static QZObjectCache* m_exceptionCache;
    static QZObjectCache* m_ioExceptionCache;
    static QZObjectCache* m_taskExceptionCache;
    static QZObjectCache* m_databaseExceptionCache;
    static QZObjectCache* m_socketExceptionCache;
    static QZObjectCache* m_httpExceptionCache;
    static QZObjectCache* m_jsonExceptionCache;
};

// The caches of exceptions. They never get an object back: a recycled exception is deleted, and the created
// count keeps rising.

QZLIB_NAMED_CACHE(QZExceptionCache, QZException);
QZLIB_NAMED_CACHE(QZIOExceptionCache, QZIOException);
QZLIB_NAMED_CACHE(QZTaskExceptionCache, QZTaskException);
QZLIB_NAMED_CACHE(QZDatabaseExceptionCache, QZDatabaseException);
QZLIB_NAMED_CACHE(QZSocketExceptionCache, QZSocketException);
QZLIB_NAMED_CACHE(QZHttpExceptionCache, QZHttpException);
QZLIB_NAMED_CACHE(QZJsonExceptionCache, QZJsonException);

#endif
