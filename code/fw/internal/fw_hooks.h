#ifndef QZLIB_FW_HOOKS_H
#define QZLIB_FW_HOOKS_H

#include "fw/fw_library.h"

/// The functions that the hook setters of fw_library.h store, and writing the error word.

/// The stored hooks.
extern void (*g_qzMemCopy)(void* destination, void* source, QZInt64 size);
extern void (*g_qzMemMove)(void* destination, void* source, QZInt64 size);
extern void (*g_qzMemClean)(void* destination, QZInt64 size);

/// True when the copy hook is the library's own: a caller may then copy without calling it.
bool QZMemCopyIsOwn();

inline void QZMemCopy(void* destination, const void* source, QZInt64 size)
{
    g_qzMemCopy(destination, const_cast<void*>(source), size);
}

inline void QZMemMove(void* destination, const void* source, QZInt64 size)
{
    g_qzMemMove(destination, const_cast<void*>(source), size);
}

inline void QZMemClean(void* destination, QZInt64 size) { g_qzMemClean(destination, size); }

/// Stores a low-level failure code into QZLastError.
void QZSetLastError(QZInt32 code);

/// QZLastError, or `fallback` when it is 0: the code that a failure for lack of memory throws.
QZInt64 QZLastErrorOr(QZInt64 fallback);

/// Sets all hooks to the library's own, for QZLibInit.
void QZHooksInit();

#endif
