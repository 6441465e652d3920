#ifndef QZLIB_SYS_LINE_H
#define QZLIB_SYS_LINE_H

/// Serial lines.

#include "sys/sys_types.h"

namespace os
{

/// How a transfer on a line ended.
enum class LineResult
{
    Done,     ///< *count bytes were transferred
    Timeout,  ///< nothing was received, or not everything was sent, in the time
    Failed,   ///< LastError holds the reason
};

/// An open serial line. Deleting it closes the line. One thread at a time.
///
/// The library calls the Line... functions below instead of the members: they ask the gate of the test hooks
/// first.
class Line
{
public:
    Line() = default;
    virtual ~Line() = default;
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// Sets 8 data bits, no parity, one stop bit and the speed in baud.
    virtual bool Setup(QZInt64 speed) = 0;
    /// Sets the speed in baud and nothing else.
    virtual bool SetSpeed(QZInt64 speed) = 0;
    /// Asks Windows to report received bytes; does nothing on Linux.
    virtual bool WatchInput() = 0;
    /// Waits until `size` bytes are received or the time is over, and stores the number of received bytes in
    /// *count: Done when there are any, Timeout when there are none. A negative time has no limit. No request
    /// stays pending that could take bytes received later.
    virtual LineResult Read(void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) = 0;
    /// Waits until the system has taken all bytes or the time is over, and stores the number of bytes taken
    /// in *count. A negative time has no limit.
    virtual LineResult Write(const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) = 0;
    /// Stores the number of bytes received and not yet read.
    virtual bool Queued(QZInt64* count) = 0;
    /// Discards the bytes received and not yet read.
    virtual void CleanInput() = 0;
};

/// Opens a line by a path with the device prefix "\\.\"; null with LastError set on failure. After the prefix
/// Linux expects an absolute path or a name below /dev. The test hooks may supply a line of their own.
Line* LineOpen(const QZWChar* path);
/// The operations of Line, after the gate of the test hooks, which can make them fail or shorten a transfer.
/// Each returns what the member returns; false or Failed with LastError set when the gate refuses.
bool LineSetup(Line* line, QZInt64 speed);
bool LineSetSpeed(Line* line, QZInt64 speed);
bool LineWatchInput(Line* line);
LineResult LineRead(Line* line, void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count);
LineResult LineWrite(Line* line, const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count);
bool LineQueued(Line* line, QZInt64* count);

/// Opens a line of the system; LineOpen calls it.
Line* SystemLineOpen(const QZWChar* path);

/// A walk over the names of this machine's serial ports, without the prefix.
struct LineWalk;
/// Begins a walk; null with LastError set on failure: ErrorNotFound when the system has no list of ports. End
/// it with LineWalkClose.
LineWalk* LineWalkOpen();
/// Goes to the next port; false at the end. *name is valid until the next call.
bool LineNext(LineWalk* walk, const QZWChar** name);
void LineWalkClose(LineWalk* walk);

}  // namespace os

#endif
