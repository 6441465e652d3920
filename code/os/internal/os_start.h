#ifndef QZLIB_OS_START_H
#define QZLIB_OS_START_H

/// Start and stop of the thread runtime, for QZLibInit and QZLibDispose. Internal.

/// Makes the process-wide mutex and the socket that QZThread::SleepUs waits on. A second call does nothing.
void QZThreadRuntimeInit();

/// Gives mutex and socket back, sets the abort flag, and returns when the last thread made by
/// QZThread::Create has returned. The abort flag stays set.
void QZThreadRuntimeEnd();

#endif
