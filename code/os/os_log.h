#ifndef QZLIB_OS_LOG_H
#define QZLIB_OS_LOG_H

#include "fw/fw_object.h"

class QZCriticalSection;
class QZFileStream;
class QZString;

/// A daily text file in UTF-8: "Log/<date>/<name>.txt".
///
/// Each entry is written between a BEGIN and an END line with the time. There are no levels. Any thread may
/// write: entries do not mix. Open makes a log, Close deletes it.
class QZ_API QZLog : public QZObject
{
public:
    static const QZInt64 Type = 0x8300006;

    /// Opens today's file for appending; makes missing folders and the file.
    /// @throws QZIOException  what the operations on files and folders throw
    static QZLog* Open(const QZWChar* name);

    /// Writes pending entries, closes the file, deletes the log and clears the variable.
    /// A null in the variable is a QZLibAssert(false).
    static void Close(QZLog** log);

    ~QZLog() override;
    QZLog(const QZLog&) = delete;
    QZLog& operator=(const QZLog&) = delete;

    QZInt64 GetType() override;

    /// Appends an entry and flushes it to the disk. After midnight it first opens the file of the new day.
    void Write(QZString* text);

    /// Flushes all entries to the disk.
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
