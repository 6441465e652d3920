#ifndef QZLIB_OS_STREAM_H
#define QZLIB_OS_STREAM_H

#include "os/os_buffer.h"

class QZFile;
class QZString;

/// A stream over paged memory: reads go on from the read position, writes go to the end.
///
/// Reading and writing do not disturb each other. One thread at a time.
class QZ_API QZStream : public QZBuffer
{
public:
    /// Bytes of memory when the constructor is not told: 1048576.
    static const QZInt64 MemorySizeDefault = 1048576;

    QZStream();
    explicit QZStream(QZInt64 memoryLimit);
    QZStream(QZInt64 memoryLimit, QZInt64 blockSize);
    ~QZStream() override;

    /// One byte from the read position; answers the count, 0 at the end.
    QZInt64 ReadByte(unsigned char* value);

    /// Up to size bytes from the read position, which moves on; answers the count, 0 at the end.
    QZInt64 Read(void* target, QZInt64 size);

    /// Appends one byte; answers the count.
    QZInt64 WriteByte(unsigned char value);

    /// Appends size bytes at the end; the read position stays. Answers the count.
    QZInt64 Write(const void* source, QZInt64 size);

    /// Sets the read position, in bytes from the start. It is not tested.
    void Seek(QZInt64 position);

    /// The read position.
    QZInt64 GetPosition() const { return m_position; }

    /// The end position: bytes in the stream.
    QZInt64 GetEnd() const { return m_end; }

protected:
    QZInt64 m_position;
    QZInt64 m_end;
};

/// Lines of text in a file: reading goes on from the read position, writing appends at the end of the file.
///
/// What is written stays in memory until its block is pushed out, or until Sync, Collect or Close. Made by
/// Open, given back by Close; owns its file. One thread at a time.
class QZ_API QZFileStream : public QZStream
{
public:
    static const QZInt64 Type = 0x8300007;

    /// Opens an existing file; the encoding is sniffed from its content.
    /// @throws QZIOException  what QZFile::Open throws
    static QZFileStream* Open(QZString* path);

    /// @param encoding  a QZEncodingType value
    static QZFileStream* Open(QZString* path, QZInt64 encoding);

    /// Writes back what was changed, closes the file, deletes the stream and clears the variable.
    static void Close(QZFileStream** stream);

    ~QZFileStream() override;

    QZInt64 GetType() override;

    using QZStream::ReadByte;
    using QZStream::Write;

    /// The byte at the read position, which moves on; -1 at the end.
    QZInt64 ReadByte();

    /// Reads up to the next CR LF into text, without it, and answers the text's size in bytes; -1 at the end
    /// of the file. Text is read in windows of 256 bytes, each decoded by itself.
    QZInt64 ReadLine(QZString* text);

    /// The text from the read position to the end, in a new string given back with Recycle.
    QZString* ReadToEnd();

    /// Appends the text in the stream's encoding; answers the count of bytes.
    QZInt64 Write(QZString* text);

    /// Appends the text and a CR LF; answers the count of bytes.
    QZInt64 WriteLine(QZString* text);

    /// The encoding of the text, a QZEncodingType value.
    QZInt64 GetEncoding() const { return m_encoding; }

    using QZBuffer::Recycle;
    /// Gives back what ReadToEnd made.
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
