#ifndef QZLIB_FW_LIBRARY_H
#define QZLIB_FW_LIBRARY_H

#include "fw/fw_types.h"

/// The library's front door: start, stop, collection, hooks and the low-level error word.
///
/// All of these but QZLibCollect are called by the host on one thread, before other library threads exist and
/// after they have ended.

/// The last low-level failure, a value of QZExceptionCode. Written by the memory manager and by the object
/// lock, never reset by the library.
extern QZ_API QZInt32 QZLastError;

/// Starts the library. Idempotent: a second call returns true at once.
/// @throws QZSocketException 1024 when the platform's socket layer does not start
QZ_API QZBool QZLibInit();

/// Ends the library: ends the factories, sets the process-wide abort flag and waits until every thread made
/// by QZThread::Create has returned. True, and nothing happens, when the library is not initialised.
QZ_API QZBool QZLibDispose();

/// Collects the caches of the factories. `partial`: release only what stayed idle since the last collection.
QZ_API void QZLibCollect(QZBool partial);

/// Calls the assert hook with the condition, whatever it is: the hook decides.
QZ_API void QZLibAssert(QZBool condition);

/// Hook setters: plain stores, no check. QZLibInit stores the defaults, so set a hook after it.
QZ_API void QZLibSetFunctionMemCopy(void (*function)(void* destination, void* source, QZInt64 size));
QZ_API void QZLibSetFunctionMemMove(void (*function)(void* destination, void* source, QZInt64 size));
QZ_API void QZLibSetFunctionMemClean(void (*function)(void* destination, QZInt64 size));
QZ_API void QZLibSetFunctionAssert(void (*function)(QZBool condition));

/// Set and clear the form flag; each returns true.
QZ_API QZBool QZFormInit();
QZ_API QZBool QZFormDispose();

#endif
