#ifndef QZLIB_DB_CONSOLE_H
#define QZLIB_DB_CONSOLE_H

#include "db/internal/db_file.h"

class ADDRESS;
class BINARY;
class DATA;
class OBJECTS;
class QZString;
class REPAIR;
class ROLLBACK;

/// The component that creates, opens, tests and closes files. As a QZDbFile it is also the file that the
/// other components work on. Callers hold the database lock.
class QZ_API CONSOLE : public QZDbFile
{
public:
    /// The container makes it first, so it gets the components later, from Connect.
    explicit CONSOLE(OBJECTS* objects);
    ~CONSOLE() override;

    CONSOLE(const CONSOLE&) = delete;
    CONSOLE& operator=(const CONSOLE&) = delete;

    /// Sets the components that opening, testing and formatting use.
    void Connect(BINARY* binary, ADDRESS* address, DATA* data, REPAIR* repair, ROLLBACK* rollback)
    {
        m_binary = binary;
        m_address = address;
        m_data = data;
        m_repair = repair;
        m_rollback = rollback;
    }

    /// Makes a database file and closes it again. Only version 5 is admitted, with address modes 1, 2 and 3.
    /// @param rollback  not 0: with the structure of the rollback log
    /// @return false, and the disk is not changed, for another version or mode and for a path that exists;
    ///         false when the file cannot be opened
    /// @throws QZIOException  what creating, opening and writing of the file throw; the file is then closed
    bool CreateFile(QZInt64 version, QZInt64 addressMode, QZString* path, QZInt64 rollback);

    /// Opens a database file and takes version and address mode from it. The file mode is set from the
    /// address mode's byte, whatever byte 2 holds.
    /// @return false with BAD_STRUCT recorded for an unknown version or address mode; the file then stays
    ///         open until CloseFile
    /// @throws QZIOException  what QZFileBuffer::Open throws
    bool OpenFile(QZString* path);

    /// Collects the buffer and closes the file. Nothing happens when no file is open.
    void CloseFile();

    /// Tests header and main HD and loads the rollback structure. A fault is recorded as BAD_STRUCT and ends
    /// the test; the database stays usable as far as its bytes allow.
    bool Verify();

    /// Writes the header and the main structure of a version into the open file: what CreateFile does for
    /// version 5.
    void Format(QZInt64 version, QZInt64 addressMode);

    /// ADDRESS::SetFileLength and FileLength.
    void SetLength(QZInt64 address);
    QZInt64 GetLength() const;

    /// The value of a SYSINFO_ key; 0 for a key that is not known here.
    QZInt64 GetSysInfo(QZInt64 key) const;

private:
    bool CreateFormatted(QZString* path, QZInt64 addressMode, QZInt64 rollback);
    bool CheckHeader();
    bool CheckMain();
    bool IsHead(QZInt64 address);
    void FormatV1();
    void FormatV4();
    void FormatV5(bool sync);
    void WriteHeader(QZInt64 version, QZInt64 addressMode);

    BINARY* m_binary = nullptr;
    ADDRESS* m_address = nullptr;
    DATA* m_data = nullptr;
    REPAIR* m_repair = nullptr;
    ROLLBACK* m_rollback = nullptr;
};

#endif
