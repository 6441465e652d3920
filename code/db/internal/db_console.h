#ifndef QZLIB_DB_CONSOLE_H
#define QZLIB_DB_CONSOLE_H

#include "db/internal/db_flag.h"
#include "db/internal/db_objects.h"
#include "os/os_file_buffer.h"

class QZData;
class QZString;

/// What follows from a file's address mode.
struct QZAddressInfo
{
    QZInt64 AddressLength = 0;
    QZInt64 AddressMode = 0;
    QZInt64 FileMode = 0;
    /// The largest address that a write may reach.
    QZInt64 LargestAddress = 0;
    QZInt64 Version = 0;
};

/// A transformation that can be laid over what goes to the file: a flag and a key for each direction.
///
/// The write key holds an encryption map and the read key the matching decryption map, 256 bytes at the front
/// of each. Nothing in the library sets a flag, so files are stored in the clear.
struct QZDbTransformation
{
    QZByte Flag = 0;
    QZData* WriteKey = nullptr;
    QZData* ReadKey = nullptr;
};

/// The component that owns the file and the error state: creating, opening and testing files, the length
/// field, write protection, system information, the count and the code of errors.
///
/// Owns the file buffer, the address info and the keys. Runs under the database's lock.
class QZ_API CONSOLE : public QZObject
{
public:
    explicit CONSOLE(OBJECTS* objects);
    ~CONSOLE() override;

    CONSOLE(const CONSOLE&) = delete;
    CONSOLE& operator=(const CONSOLE&) = delete;

    /// Makes a database file and closes it again. Only version 5 is admitted, with address modes 1, 2 and 3.
    /// @param rollback  not 0: with the structure of the rollback log
    /// @return false, and nothing touched, for another version or mode and for a path that exists; false when
    /// the file
    ///         cannot be opened
    /// @throws QZIOException  what creating, opening and writing of the file throw; the file is then closed
    bool CreateFile(QZInt64 version, QZInt64 addressMode, QZString* path, QZInt64 rollback);

    /// Opens a database file and takes version and address mode from it. The file mode is set from the
    /// address mode's byte, whatever byte 2 holds.
    /// @return false with BAD_STRUCT recorded for an unknown version or address mode; the file then stays
    /// open until
    ///         CloseFile
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

    /// Sets the length field, the position of the last byte in use. Refused, with WRITE_ERROR_WRITEPROTECT
    /// recorded, under write protection and for an address that reaches the largest one, which protects the
    /// database for good.
    void SetLength(QZInt64 address);

    /// The length field of the file.
    QZInt64 GetLength() const;

    /// The value of a SYSINFO_ key; 0 for a key that is not known here.
    QZInt64 GetSysInfo(QZInt64 key) const;

    /// Counts an error and keeps its code.
    void RecordError(QZInt64 code)
    {
        ++m_errorCount;
        m_lastError = code;
    }

    QZInt64 GetErrorCount() const { return m_errorCount; }
    QZInt64 GetLastError() const { return m_lastError; }

    /// Whether operations test their arguments.
    bool IsCheckParam() const { return m_checkParam == 1; }
    void SetCheckParam(bool check) { m_checkParam = check ? 1 : 0; }

    /// Not 0 when writing is refused.
    QZInt64 GetWriteProtect() const { return m_writeProtect.Get(); }
    void SetWriteProtect(QZInt64 value) { m_writeProtect.Set(value); }

    /// The open file, null outside open and close. Attach hands over a buffer that the caller opened.
    QZFileBuffer* Buffer() const { return m_buffer; }
    void Attach(QZFileBuffer* buffer) { m_buffer = buffer; }

    QZAddressInfo* AddressInfo() const { return m_addressInfo; }

    /// The transformations of all bytes, of addresses and of contents.
    QZDbTransformation* ByteTransformation() { return &m_bytes; }
    QZDbTransformation* AddressTransformation() { return &m_addresses; }
    QZDbTransformation* ContentTransformation() { return &m_contents; }

    /// Addresses are stored as they are.
    bool IsPlain() const { return (m_bytes.Flag | m_addresses.Flag) == 0; }

    QZInt64 GetContentRead() const { return m_contentRead; }
    QZInt64 GetContentWritten() const { return m_contentWritten; }
    void AddContentRead(QZInt64 count) { m_contentRead += count; }
    void AddContentWritten(QZInt64 count) { m_contentWritten += count; }

private:
    bool CreateFormatted(QZString* path, QZInt64 addressMode, QZInt64 rollback);
    bool CheckHeader();
    bool CheckMain();
    bool IsHead(QZInt64 address);
    void FormatV1();
    void FormatV4();
    void FormatV5(bool sync);
    void WriteHeader(QZInt64 version, QZInt64 addressMode);

    OBJECTS* m_objects;
    QZInt64 m_checkParam;
    QZDbFlag m_writeProtect;
    QZFileBuffer* m_buffer;
    QZInt64 m_memoryLimit;
    QZAddressInfo* m_addressInfo;
    QZInt64 m_lastError;
    QZInt64 m_errorCount;
    QZInt64 m_blockSize;
    QZDbTransformation m_bytes;
    QZDbTransformation m_addresses;
    QZDbTransformation m_contents;
    QZInt64 m_contentRead;
    QZInt64 m_contentWritten;
};

#endif
