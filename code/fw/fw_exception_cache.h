#ifndef QZLIB_FW_EXCEPTION_CACHE_H
#define QZLIB_FW_EXCEPTION_CACHE_H

#include "fw/fw_exception.h"
#include "fw/fw_named_cache.h"

// The caches of exceptions. They only give objects out: a recycled exception is deleted, and the created
// count keeps rising.

QZLIB_NAMED_CACHE(QZExceptionCache, QZException);
QZLIB_NAMED_CACHE(QZIOExceptionCache, QZIOException);
QZLIB_NAMED_CACHE(QZTaskExceptionCache, QZTaskException);
QZLIB_NAMED_CACHE(QZDatabaseExceptionCache, QZDatabaseException);
QZLIB_NAMED_CACHE(QZSocketExceptionCache, QZSocketException);
QZLIB_NAMED_CACHE(QZHttpExceptionCache, QZHttpException);
QZLIB_NAMED_CACHE(QZJsonExceptionCache, QZJsonException);

#endif
