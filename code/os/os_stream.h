#ifndef QZLIB_OS_STREAM_H
#define QZLIB_OS_STREAM_H

#include "os/os_buffer.h"

class QZFile;
class QZString;

/// A stream over paged memory: reads start at the read position, writes append at the end.
///
/// Writes do not move the read position. One thread at a time.
class QZ_API QZStream : public QZBuffer
{
public:
    /// The default memory limit in bytes: 1048576.
    static const QZInt64 MemorySizeDefault = 1048576;

    QZStream();
    explicit QZStream(QZInt64 memoryLimit);
    QZStream(QZInt64 memoryLimit, QZInt64 blockSize);
    ~QZStream() override;

    /// Reads one byte and returns the count, 0 at the end.
    QZInt64 ReadByte(unsigned char* value);

    /// Reads up to `size` bytes, advances the read position and returns the count, 0 at the end.
    QZInt64 Read(void* target, QZInt64 size);

    /// Appends one byte and returns the count.
    QZInt64 WriteByte(unsigned char value);

    /// Appends `size` bytes and returns the count.
    QZInt64 Write(const void* source, QZInt64 size);

    /// Sets the read position, in bytes from the start. Any value is accepted.
    void Seek(QZInt64 position);

    /// The read position.
    QZInt64 GetPosition() const { return m_position; }

    /// The number of bytes in the stream.
    QZInt64 GetEnd() const { return m_end; }

protected:
    QZInt64 m_position;
    QZInt64 m_end;
};

/// Lines of text in a file: reads start at the read position, writes append at the end of the file.
///
/// Writes stay in memory until their block leaves memory, or until Sync, Collect or Close. Open makes a
/// stream, Close deletes it. The stream owns its file. One thread at a time.
class QZ_API QZFileStream : public QZStream
{
public:
    static const QZInt64 Type = 0x8300007;

    /// Opens an existing file; QZFile::GetTextFileEncodingType determines the encoding.
    /// @throws QZIOException  what QZFile::Open throws
    static QZFileStream* Open(QZString* path);

    /// @param encoding  a QZEncodingType value; 0 as above
    static QZFileStream* Open(QZString* path, QZInt64 encoding);

    /// Writes back all changes, closes the file, deletes the stream and clears the variable. A null in the
    /// variable is a QZLibAssert(false).
    /// @throws QZIOException  WriteFailed; the stream is deleted in any case
    static void Close(QZFileStream** stream);

    ~QZFileStream() override;

    QZInt64 GetType() override;

    using QZStream::ReadByte;
    using QZStream::Write;

    /// Reads one byte and returns it; -1 at the end.
    QZInt64 ReadByte();

    /// Reads the text up to the next CR LF, without it, and returns the size of the text in bytes; -1 at the
    /// end of the file. The file is read in windows of 256 bytes. Each window is decoded by itself, so a CR
    /// LF or a character across two windows is not recognised.
    QZInt64 ReadLine(QZString* text);

    /// The text from the read position to the end in a new string; give it back with Recycle.
    QZString* ReadToEnd();

    /// Appends the text in the stream's encoding and returns the number of bytes. Does nothing for null.
    QZInt64 Write(QZString* text);

    /// Appends the text and a CR LF and returns the number of bytes.
    QZInt64 WriteLine(QZString* text);

    /// The encoding of the text, a QZEncodingType value.
    QZInt64 GetEncoding() const { return m_encoding; }

    using QZBuffer::Recycle;
    /// Gives back a string of ReadToEnd.
    static void Recycle(QZString** text);

protected:
    QZFileStream(QZFile* file, QZInt64 encoding);

    QZBlock* NewBlock() override;
    void Flush() override;

private:
    QZInt64 m_encoding;
    QZFile* m_file;
};

#endif
