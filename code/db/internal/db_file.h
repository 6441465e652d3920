#ifndef QZLIB_DB_FILE_H
#define QZLIB_DB_FILE_H

#include <atomic>

#include "db/internal/db_list_order.h"
#include "db/internal/db_transformation.h"
#include "fw/fw_object.h"
#include "os/os_file_buffer.h"

/// A word of the engine's state that other threads read without the database lock. It is relaxed: it orders
/// no other access.
class QZDbFlag
{
public:
    explicit QZDbFlag(QZInt64 value) : m_value(value) {}

    QZInt64 Get() const { return m_value.load(std::memory_order_relaxed); }
    void Set(QZInt64 value) { m_value.store(value, std::memory_order_relaxed); }

private:
    std::atomic<QZInt64> m_value;
};

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

/// The file under the engine: its buffer, what its address mode implies, write protection, argument tests,
/// the transformations, and the count and the code of errors.
///
/// Owns the file buffer and the keys. Callers hold the database lock. It knows no record and no component;
/// CONSOLE derives from it and adds opening, testing and formatting.
class QZDbFile : public QZObject
{
public:
    QZDbFile();
    ~QZDbFile() override;

    QZDbFile(const QZDbFile&) = delete;
    QZDbFile& operator=(const QZDbFile&) = delete;

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

    QZAddressInfo* AddressInfo() { return &m_addressInfo; }
    const QZAddressInfo* AddressInfo() const { return &m_addressInfo; }

    /// The transformations of all bytes, of addresses and of contents.
    QZDbTransformation* ByteTransformation() { return &m_bytes; }
    QZDbTransformation* AddressTransformation() { return &m_addresses; }
    QZDbTransformation* ContentTransformation() { return &m_contents; }

    /// Whether addresses are stored as they are.
    bool IsPlain() const { return (m_bytes.Flag | m_addresses.Flag) == 0; }

    /// What is known of a list of the rollback log. Every write is told to it.
    QZDbListOrder* ListOrder() { return &m_listOrder; }

    QZInt64 GetContentRead() const { return m_contentRead; }
    QZInt64 GetContentWritten() const { return m_contentWritten; }
    void AddContentRead(QZInt64 count) { m_contentRead += count; }
    void AddContentWritten(QZInt64 count) { m_contentWritten += count; }

protected:
    /// Closes the buffer after a failure. A second failure is dropped: the first one counts.
    void CloseQuietly();

    QZFileBuffer* m_buffer;

private:
    QZInt64 m_checkParam;
    QZDbFlag m_writeProtect;
    QZAddressInfo m_addressInfo;
    QZInt64 m_lastError;
    QZInt64 m_errorCount;
    QZDbTransformation m_bytes;
    QZDbTransformation m_addresses;
    QZDbTransformation m_contents;
    QZInt64 m_contentRead;
    QZInt64 m_contentWritten;
    QZDbListOrder m_listOrder;
};

#endif
