#ifndef QZLIB_OS_PROCESS_H
#define QZLIB_OS_PROCESS_H

#include <concepts>

#include "fw/fw_object.h"

class QZCollection;
class QZString;

/// A process of this machine, by its id, and queries about processes.
///
/// The object keeps a handle of the process open; it does not wait for the process or end it. New strings,
/// collections and objects belong to the caller, who gives them back with Recycle. Any thread may call.
class QZ_API QZProcess : public QZObject
{
public:
    static const QZInt64 Type = 0x831003A;

    /// Opens the process with the rights to query it and to access its memory. Does not fail when the process
    /// cannot be opened.
    explicit QZProcess(long long pid);
    ~QZProcess() override;
    QZProcess(const QZProcess&) = delete;
    QZProcess& operator=(const QZProcess&) = delete;

    QZInt64 GetType() override;

    /// The id given to the constructor.
    long long GetPID();

    /// Copy bytes from and to the memory of the process and return their number. They pass the id of the
    /// process instead of its handle, so the system refuses and the result is 0.
    long long Read(unsigned int address, void* buffer, long long size);
    long long Write(unsigned int address, const void* buffer, long long size);

    /// The ids of all processes of the program `name`, which is given without ".exe"; empty when there is
    /// none or the system gives no list.
    static QZCollection* GetIDByExeName(QZString* name);
    /// The ids of all processes; empty when the system gives no list.
    static QZCollection* GetIDList();
    /// The file name of the process's program; null when the process does not exist.
    static QZString* GetProcessName(long long pid);

    static QZByte Exists(long long pid);
    /// True when a process of the program `name`, which is given without ".exe", exists.
    /// @throws QZException 6144 with the system's number when the system gives no list
    static QZByte Exists(QZString* name);
    // A literal 0 is an id here, not a null name.
    template <std::integral I>
    static QZByte Exists(I pid)
    {
        return Exists(static_cast<long long>(pid));
    }

    /// Starts a program without arguments, with a console of its own. Null when the file does not exist or
    /// does not start.
    /// @throws QZIOException 4864 for a path of more than 255 characters
    static QZProcess* Create(QZString* path);

    static long long GetCurrentPID();
    /// The path of this process's program, at most 260 characters with the terminating zero.
    /// @throws QZException 16 with the system's number
    static QZString* GetCurrentExeFilePath();

    /// Ends the process at once, with exit code 0. Returns 1.
    /// @throws QZIOException 5888 with the system's number
    static QZByte Kill(long long pid);

    /// The bytes in the working set, and in the page file; -1 when the process does not exist.
    static long long GetMemoryUsage(long long pid);
    static long long GetSwapUsage(long long pid);

    static void Recycle(QZString** text);
    static void Recycle(QZCollection** collection);
    static void Recycle(QZProcess** process);

private:
    QZInt64 m_pid;
    QZInt64 m_handle;
};

#endif
