#ifndef QZLIB_FW_ENVIRONMENT_H
#define QZLIB_FW_ENVIRONMENT_H

#include "sys/sys_types.h"

class QZString;

/// The library's environment: switches that a host sets, the narrow and wide encodings, the clock, and the
/// host's name, address and working folder. All static, any thread.
class QZ_API QZEnvironment
{
public:
    /// Not 0: allocations go through the pool of recycled blocks. QZLibInit sets it to 0, so a host sets it
    /// afterward.
    static QZBool UseMemPoolCache;

    /// The library's line end, CR LF; from QZLibInit to QZLibDispose.
    static QZString* NewLine;

    /// The encodings of narrow and of wide text: QZEncodingType::ANSI and QZEncodingType::UTF16LE.
    static const QZInt64 CurrentCharacterEncodingType = 0x2010100;
    static const QZInt64 CurrentWideCharacterEncodingType = 0x2010200;

    /// True for the encoding of narrow text, and of wide text.
    static QZBool IsCharacterEncodingType(QZInt64 type);
    static QZBool IsWideCharacterEncodingType(QZInt64 type);

    /// Milliseconds since the system started.
    static QZUInt64 GetTickCount();

    /// The local wall clock in milliseconds from the start of year 1; it jumps with daylight saving and clock
    /// changes.
    static QZInt64 GetCurrentTimestamp();
    /// Sets the system's clock.
    /// @throws QZException 6144 with the system's number
    static void SetCurrentTimestamp(QZInt64 timestamp);

    /// The first IPv4 address of this host, in network order. False with QZLastError 6144 when there is none.
    static QZBool GetLocalIP(unsigned int* address);

    /// A new string with this computer's name, given back with Recycle.
    static QZString* GetHostName();

    /// A new string with the working folder, given back with Recycle; at most 1024 units.
    /// @throws QZIOException 5888 with the system's number
    static QZString* GetCurrentWorkingDirectory();
    static void SetCurrentWorkingDirectory(QZString* path);

    static void Recycle(QZString** text);
};

#endif
