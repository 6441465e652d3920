#ifndef QZLIB_OS_FILE_H
#define QZLIB_OS_FILE_H

#include "fw/fw_object.h"

class QZData;
class QZString;

/// What a file is opened for and what others may do with it meanwhile. Sharing counts on Windows only.
class QZ_API QZFileOptions
{
public:
    static const unsigned int Read = 1;
    static const unsigned int Write = 2;
    static const unsigned int ShareRead = 4;
    /// Read and ShareRead, whatever the name promises; files for writing take Write too.
    static const unsigned int ReadWrite = 5;
    /// Write and the bit that lets others write: sharing for writing needs both.
    static const unsigned int ShareWrite = 10;
    static const unsigned int ShareReadWrite = 15;
};

/// An open file with positional reads and writes: every one names its offset, the class keeps no position.
///
/// Files are made by Open and given back with Close. Paths are narrow, wide or a QZString, at most 255
/// characters. Sizes go to the platform as 32 bits. A file serves one thread at a time. Failures are
/// QZIOExceptions with the system's number in the message.
class QZ_API QZFile : public QZObject
{
public:
    static const QZInt64 Type = 0x81FF500;

    ~QZFile() override;
    QZFile(const QZFile&) = delete;
    QZFile& operator=(const QZFile&) = delete;

    QZInt64 GetType() override;

    /// Writes at the offset; the bytes written.
    /// @throws QZIOException 4352 when the system refuses; QZException 1792 for a null data object
    virtual QZInt64 Write(QZInt64 offset, const void* buffer, QZInt64 size);
    virtual QZInt64 Write(QZInt64 offset, QZData* data);
    /// Reads at the offset; the bytes read, fewer at the end of the file.
    /// @throws QZIOException 4608 when the system refuses
    virtual QZInt64 Read(QZInt64 offset, void* buffer, QZInt64 size);
    /// A new QZData of the size that was read, given back with Recycle.
    virtual QZData* Read(QZInt64 offset, QZInt64 size);
    /// Cuts or lengthens the file. @throws QZIOException 5888
    virtual void NewSize(QZInt64 size);
    /// @throws QZIOException 5888
    virtual QZInt64 GetSize();
    /// Writes behind the last byte; the bytes written.
    virtual QZInt64 Append(const void* buffer, QZInt64 size);
    /// The number of CR LF pairs, plus 1. A bare LF does not count.
    virtual QZInt64 LineCount();
    /// Copies line i (without its CR LF, with a terminator) into lines[i] where that entry is not null; the
    /// buffers are as long as the caller knows the lines to be. The index of the last line.
    virtual QZInt64 ReadLine(char** lines);
    /// Looks for the text of a version resource and writes its digits, dots, slashes and minuses into result,
    /// at most 32 bytes, the rest of the 32 zero. How many were kept; 0 and an untouched result without such
    /// a text.
    virtual QZInt64 GetVersion(char* result);
    /// The QZEncodingType that the byte order mark names; without one UTF8 when the whole file is legal
    /// UTF-8, else ANSI. A mark FF FE 00 00 reports UTF16LE, since its first half is looked at first.
    virtual QZInt64 GetTextFileEncodingType();
    /// Hands everything written to the disk. @throws QZIOException 5888
    virtual void Sync();
    /// True when both files hold the same bytes. False for null.
    virtual QZBool Equals(QZFile* other);

    /// A new QZData with all bytes of the file, given back with Recycle.
    QZData* ReadToEnd();

    /// Opens an existing file; without options for reading and writing, shared fully.
    /// @throws QZIOException 4864 for a path of more than 255 characters, 6400 where the file's presence is
    ///         the failure, 5888 with the system's number otherwise
    static QZFile* Open(const char* path);
    static QZFile* Open(const QZWChar* path);
    static QZFile* Open(QZString* path);
    static QZFile* Open(const char* path, unsigned int options);
    static QZFile* Open(const QZWChar* path, unsigned int options);
    static QZFile* Open(QZString* path, unsigned int options);
    /// Closes, deletes and clears the variable. Null in the variable is left alone.
    static void Close(QZFile** file);

    /// Makes an empty file. Throws like Open; 6400 when it exists.
    static void Create(const char* path);
    static void Create(const QZWChar* path);
    static void Create(QZString* path);
    /// @throws QZIOException 4864, 5888 with the system's number
    static void Delete(const char* path);
    static void Delete(const QZWChar* path);
    static void Delete(QZString* path);
    /// False for a missing file and for a directory. @throws QZIOException 4864
    static QZBool Exists(const char* path);
    static QZBool Exists(const QZWChar* path);
    static QZBool Exists(QZString* path);
    /// The names travel in the narrow page. A target that exists is a failure.
    /// @throws QZIOException 4864, 5888 with the system's number
    static void Rename(const char* from, const char* to);
    static void Rename(const QZWChar* from, const QZWChar* to);
    static void Rename(QZString* from, QZString* to);

    /// Copies length bytes in pieces of at most chunk bytes and adds each piece to *progress when given; the
    /// bytes copied.
    /// @throws QZIOException 5888 when a piece comes out short; QZException 4352 without memory for a piece
    static QZInt64 Copy(QZFile* source, QZInt64 sourceOffset, QZFile* target, QZInt64 targetOffset,
                        QZInt64 length, QZInt64 chunk, QZInt64* progress);

    static void Recycle(QZData** data);

protected:
    QZFile();

    /// Clears handle and path of a new object.
    virtual void Init();
    /// Gives the handle back to the system, once.
    virtual void CloseHandle();

private:
    template <typename Text>
    static QZFile* OpenAs(Text path, QZUInt32 options, bool named);
    template <typename Text>
    static void CreateAs(Text path);

    QZInt64 m_handle;
    QZString* m_path;
};

#endif
