#ifndef QZLIB_OS_LOG_H
#define QZLIB_OS_LOG_H

#include "fw/fw_object.h"

class QZCriticalSection;
class QZFileStream;
class QZString;

/// A daily text file in UTF-8: "Log", a folder for the date, the name with ".txt".
///
/// Each entry stands between a BEGIN and an END line with the time. There are no levels. Any thread may
/// write: an entry goes in whole. Made by Open, given back by Close.
class QZ_API QZLog : public QZObject
{
public:
    static const QZInt64 Type = 0x8300006;

    /// Opens today's file and goes on at its end; missing folders and the file are made.
    /// @throws QZIOException  what the operations on files and folders throw
    static QZLog* Open(const QZWChar* name);

    /// Writes what is pending, closes the file, deletes the log and clears the variable.
    /// A null in the variable is a QZLibAssert(false).
    static void Close(QZLog** log);

    ~QZLog() override;
    QZLog(const QZLog&) = delete;
    QZLog& operator=(const QZLog&) = delete;

    QZInt64 GetType() override;

    /// Appends an entry and brings it to the disk. Past midnight the new day's file is opened first.
    void Write(QZString* text);

    /// Brings what was written to the disk.
    void Sync();

private:
    explicit QZLog(const QZWChar* name);
    void Init();
    void WriteEntry(QZString* text);

    QZByte m_wrap = 1;
    QZByte m_sync = 1;
    QZString* m_directory;
    QZString* m_name;
    QZCriticalSection* m_lock;
    QZFileStream* m_stream = nullptr;
    QZInt64 m_nextRollover = 0;
};

#endif
