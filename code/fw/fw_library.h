#ifndef QZLIB_FW_LIBRARY_H
#define QZLIB_FW_LIBRARY_H

#include "sys/sys_types.h"

/// The low-level error word, the collection of all caches, the assertion and the hooks. QZLibInit and
/// QZLibDispose are in qzlib.h.
///
/// A host sets hooks on one thread, before other library threads exist and after they have ended.

/// The last low-level failure, a value of QZExceptionCode. Written by the memory manager and by the object
/// lock, never reset by the library.
extern QZ_API QZInt32 QZLastError;

/// Collects the caches of the factories. `partial`: release only what stayed idle since the last collection.
QZ_API void QZLibCollect(QZBool partial);

/// Calls the assert hook with the condition, be it true or false: the hook decides.
QZ_API void QZLibAssert(QZBool condition);

/// Hook setters: plain stores, no check. QZLibInit stores the defaults, so set a hook after it.
QZ_API void QZLibSetFunctionMemCopy(void (*function)(void* destination, void* source, QZInt64 size));
QZ_API void QZLibSetFunctionMemMove(void (*function)(void* destination, void* source, QZInt64 size));
QZ_API void QZLibSetFunctionMemClean(void (*function)(void* destination, QZInt64 size));
QZ_API void QZLibSetFunctionAssert(void (*function)(QZBool condition));

#endif
