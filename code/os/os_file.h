#ifndef QZLIB_OS_FILE_H
#define QZLIB_OS_FILE_H

#include "fw/fw_object.h"

class QZData;
class QZString;

/// The access that a file is opened for, and the access that other handles get meanwhile, those of other
/// processes and of this one.
///
/// An open that contradicts one of the others fails with the system's number for a file in use (Windows 32,
/// Linux 16). On Linux sharing holds among users of this class, on file systems that have locks.
class QZ_API QZFileOptions
{
public:
    static const unsigned int Read = 1;
    static const unsigned int Write = 2;
    static const unsigned int ShareRead = 4;
    /// Read and ShareRead, although the name says otherwise. For writing add Write.
    static const unsigned int ReadWrite = 5;
    /// Write and the bit that lets others write: only both together share for writing.
    static const unsigned int ShareWrite = 10;
    static const unsigned int ShareReadWrite = 15;
};

/// An open file. Every read and write names its offset; the class keeps no position.
///
/// Open makes a file object, Close deletes it. Paths are narrow, wide or a QZString, at most 255
/// characters. Sizes are passed to the platform as 32 bits. One thread at a time. Failures are
/// QZIOExceptions with the system's number in the message.
class QZ_API QZFile : public QZObject
{
public:
    static const QZInt64 Type = 0x81FF500;

    ~QZFile() override;
    QZFile(const QZFile&) = delete;
    QZFile& operator=(const QZFile&) = delete;

    QZInt64 GetType() override;

    /// Writes at the offset and returns the number of bytes written.
    /// @throws QZIOException 4352 when the system refuses; QZException 1792 for a null data object
    virtual QZInt64 Write(QZInt64 offset, const void* buffer, QZInt64 size);
    virtual QZInt64 Write(QZInt64 offset, QZData* data);
    /// Reads at the offset and returns the number of bytes read, fewer at the end of the file.
    /// @throws QZIOException 4608 when the system refuses
    virtual QZInt64 Read(QZInt64 offset, void* buffer, QZInt64 size);
    /// Reads into a new QZData of the size that was read; give it back with Recycle.
    virtual QZData* Read(QZInt64 offset, QZInt64 size);
    /// Cuts or extends the file. @throws QZIOException 5888
    virtual void NewSize(QZInt64 size);
    /// The size in bytes. @throws QZIOException 5888
    virtual QZInt64 GetSize();
    /// Writes after the last byte and returns the number of bytes written.
    virtual QZInt64 Append(const void* buffer, QZInt64 size);
    /// The number of CR LF pairs, plus 1. An LF without CR does not count.
    virtual QZInt64 LineCount();
    /// Copies line i, without its CR LF and with a terminating zero, into lines[i] if that is not null. The
    /// caller provides buffers that are large enough. Returns the index of the last line.
    virtual QZInt64 ReadLine(char** lines);
    /// Searches the text of a version resource and writes its digits, dots, slashes and minuses to the
    /// result, at most 32 bytes, padded with zeros to 32. Returns their number; 0, and the result is
    /// unchanged, when there is no such text.
    virtual QZInt64 GetVersion(char* result);
    /// The QZEncodingType of the byte order mark. Without a mark UTF8 when the whole file is legal UTF-8,
    /// else ANSI. The mark FF FE 00 00 gives UTF16LE, since its first two bytes are tested first.
    virtual QZInt64 GetTextFileEncodingType();
    /// Returns when the disk has all written bytes. @throws QZIOException 5888
    virtual void Sync();
    /// True when both files have the same bytes. False for null.
    virtual QZBool Equals(QZFile* other);

    /// All bytes of the file in a new QZData; give it back with Recycle.
    QZData* ReadToEnd();

    /// Opens an existing file; without options for reading and writing, shared for both.
    /// @throws QZIOException 4864 for a path of more than 255 characters, 6400 when the system
    /// reports that the file exists, 5888 with the system's number otherwise
    static QZFile* Open(const char* path);
    static QZFile* Open(const QZWChar* path);
    static QZFile* Open(QZString* path);
    static QZFile* Open(const char* path, unsigned int options);
    static QZFile* Open(const QZWChar* path, unsigned int options);
    static QZFile* Open(QZString* path, unsigned int options);
    /// Closes the file, deletes the object and clears the variable. Does nothing for null.
    static void Close(QZFile** file);

    /// Makes an empty file. Throws like Open; 6400 when the file exists.
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
    /// Renames a file. The names are converted to the narrow page. Fails when the target exists.
    /// @throws QZIOException 4864, 5888 with the system's number
    static void Rename(const char* from, const char* to);
    static void Rename(const QZWChar* from, const QZWChar* to);
    static void Rename(QZString* from, QZString* to);

    /// Copies `length` bytes in pieces of at most `chunk` bytes, adds the size of each piece to *progress, if
    /// not null, and returns the number of bytes copied.
    /// @throws QZIOException 5888 for an incomplete piece; QZException 4352 without memory for a piece
    static QZInt64 Copy(QZFile* source, QZInt64 sourceOffset, QZFile* target, QZInt64 targetOffset,
                        QZInt64 length, QZInt64 chunk, QZInt64* progress);

    static void Recycle(QZData** data);

protected:
    QZFile();

    /// Clears the handle and the path of a new object.
    virtual void Init();
    /// Closes the handle if it is open.
    virtual void CloseHandle();

private:
    friend class QZFileInside;

    static QZFile* WithHandle(QZInt64 handle, QZString* path);
    template <typename Text>
    static QZFile* OpenAs(Text path, QZUInt32 options, bool named);
    template <typename Text>
    static void CreateAs(Text path);

    QZInt64 m_handle;
    QZString* m_path;
};

#endif
