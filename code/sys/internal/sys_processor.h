#ifndef QZLIB_SYS_PROCESSOR_H
#define QZLIB_SYS_PROCESSOR_H

/// What the processor can do. Internal.
///
/// Every operation has a plain form, which defines its result and runs on any processor. Some have a form in
/// vector instructions as well, with the same result. Sources that have one ask here and nowhere else whether
/// it is there: QZ_SSE2 says it at compile time, because every x86-64 processor has SSE2; HasAvx2 says it at
/// run time.

#if defined(__x86_64__)
#define QZ_SSE2 1
#include <emmintrin.h>
#else
#define QZ_SSE2 0
#endif

namespace processor
{
/// Whether this processor and its system have AVX2. Asked once per process.
bool HasAvx2();
}  // namespace processor

#endif
