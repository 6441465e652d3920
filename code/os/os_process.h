#ifndef QZLIB_OS_PROCESS_H
#define QZLIB_OS_PROCESS_H

#include <concepts>

#include "fw/fw_object.h"

class QZCollection;
class QZString;

/// A process of this machine, by its number, and what there is to ask of processes.
///
/// The object keeps the process object of the system open; it neither waits for the process nor ends it. New
/// strings, collections and objects are the caller's, given back with Recycle. Any thread may call.
class QZ_API QZProcess : public QZObject
{
public:
    static const QZInt64 Type = 0x831003A;

    /// Opens the process with the rights to query it and to move its memory. A process that cannot be opened
    /// is no failure.
    explicit QZProcess(long long pid);
    ~QZProcess() override;
    QZProcess(const QZProcess&) = delete;
    QZProcess& operator=(const QZProcess&) = delete;

    QZInt64 GetType() override;

    /// The number given to the constructor.
    long long GetPID();

    /// Move size bytes from and to the memory of the process; the bytes moved. The number of the process
    /// stands in for its handle here, so the system refuses and the answer is 0.
    long long Read(unsigned int address, void* buffer, long long size);
    long long Write(unsigned int address, const void* buffer, long long size);

    /// The numbers of all processes of the program `name`, ".exe" left out; empty when there is none or no
    /// list can be had.
    static QZCollection* GetIDByExeName(QZString* name);
    /// The numbers of all processes; empty when no list can be had.
    static QZCollection* GetIDList();
    /// The file name of the process's program; null when there is no such process.
    static QZString* GetProcessName(long long pid);

    static QZByte Exists(long long pid);
    /// True when a process of the program `name`, ".exe" left out, is there.
    /// @throws QZException 6144 with the system's number when no list can be had
    static QZByte Exists(QZString* name);
    // A literal 0 is a number here, never a null name.
    template <std::integral I>
    static QZByte Exists(I pid)
    {
        return Exists(static_cast<long long>(pid));
    }

    /// Starts a program without arguments, with a console of its own. Null when there is no such file or it
    /// does not start.
    /// @throws QZIOException 4864 for a path of more than 255 characters
    static QZProcess* Create(QZString* path);

    static long long GetCurrentPID();
    /// The path of this process's program, at most 260 characters with the terminator.
    /// @throws QZException 16 with the system's number
    static QZString* GetCurrentExeFilePath();

    /// Ends the process at once, with exit code 0; 1.
    /// @throws QZIOException 5888 with the system's number
    static QZByte Kill(long long pid);

    /// The working set, and what lies in the page file, in bytes; -1 when there is no such process.
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
