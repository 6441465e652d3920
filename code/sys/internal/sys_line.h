#ifndef QZLIB_SYS_LINE_H
#define QZLIB_SYS_LINE_H

/// Serial lines.

#include "sys/sys_types.h"

namespace os
{

/// How a transfer on a line ended.
enum class LineResult
{
    Done,     ///< with the count that was moved
    Timeout,  ///< nothing came, or not everything went, within the time
    Failed,   ///< LastError tells why
};

/// An open serial line. Deleting it gives it back to the system. One thread at a time.
///
/// The functions below it ask the tests' gate first; the library calls these.
class Line
{
public:
    Line() = default;
    virtual ~Line() = default;
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// 8 data bits, no parity, one stop bit, at that speed.
    virtual bool Setup(QZInt64 speed) = 0;
    /// Another speed and nothing else.
    virtual bool SetSpeed(QZInt64 speed) = 0;
    /// Lets the system announce input bytes.
    virtual bool WatchInput() = 0;
    /// Waits until `size` bytes have come or the time is over, whatever came first; what came counts as done.
    /// A negative time has no limit. Nothing is left behind that would take bytes that come later.
    virtual LineResult Read(void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) = 0;
    /// Waits until all bytes are handed to the system or the time is over. A negative time has no limit.
    virtual LineResult Write(const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) = 0;
    /// Bytes that came and were not read yet.
    virtual bool Queued(QZInt64* count) = 0;
    /// Drops what came and was not read yet.
    virtual void CleanInput() = 0;
};

/// Opens a line by a path with the device prefix "\\.\"; null with LastError set on failure. Behind the
/// prefix Linux takes an absolute path as it stands and any other name under /dev.
Line* LineOpen(const QZWChar* path);
bool LineSetup(Line* line, QZInt64 speed);
bool LineSetSpeed(Line* line, QZInt64 speed);
bool LineWatchInput(Line* line);
LineResult LineRead(Line* line, void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count);
LineResult LineWrite(Line* line, const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count);
bool LineQueued(Line* line, QZInt64* count);

/// What LineOpen goes to.
Line* SystemLineOpen(const QZWChar* path);

/// The names of the serial ports of this machine, without the prefix; null with LastError set on failure,
/// ErrorNotFound where the system keeps no list of them.
struct LineWalk;
LineWalk* LineWalkOpen();
/// The next port. *name stays valid until the next call; false at the end.
bool LineNext(LineWalk* walk, const QZWChar** name);
void LineWalkClose(LineWalk* walk);

}  // namespace os

#endif
