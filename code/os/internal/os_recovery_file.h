#ifndef QZLIB_OS_RECOVERY_FILE_H
#define QZLIB_OS_RECOVERY_FILE_H

/// What the two recovery files of a buffered file have in common. Internal. docs/database-file.md documents
/// the layouts and the order of all steps.

#include <memory>

#include "sys/sys_types.h"

class QZFile;
class QZString;

namespace recovery
{

/// Bytes in memory and their offset in the file.
struct Run
{
    QZInt64 offset;
    const unsigned char* bytes;
    QZInt64 size;
};

/// Changes are counted in pages of this size; the first page of a file has a part of its own.
constexpr QZInt64 kPage = 4096;

/// A sync of FILE.sync alone leaves no larger gap between the end of the file and the bytes that it appends.
constexpr QZInt64 kLargestGap = 16 << 20;

/// The bytes of one write or read; a multiple of 8.
constexpr QZInt64 kPiece = 1 << 16;

constexpr QZInt64 kSumSize = 8;
constexpr QZUInt64 kSumStart = 0xCBF29CE484222325ull;

/// Adds words of 8 bytes to a checksum.
QZUInt64 AddToSum(QZUInt64 sum, const unsigned char* words, QZInt64 size);

/// The next multiple of 8.
constexpr QZInt64 RoundUp(QZInt64 size) { return (size + 7) / 8 * 8; }

/// The checksum of bytes of any number, as if zeros filled them up to a multiple of 8.
QZUInt64 SumOf(const unsigned char* bytes, QZInt64 size);

/// Transfers all bytes. @throws QZIOException  WriteFailed, ReadFailed; what QZFile throws
void WriteAll(QZFile* file, QZInt64 offset, const unsigned char* bytes, QZInt64 size);
void ReadAll(QZFile* file, QZInt64 offset, unsigned char* bytes, QZInt64 size);

/// Writes words to a file in pieces, and adds them to a checksum.
class Writer
{
public:
    Writer(QZFile* file, QZInt64 at);
    void Word(QZUInt64 word);
    /// The bytes, and zeros up to a multiple of 8.
    void Bytes(const unsigned char* bytes, QZInt64 size);
    /// Begins a new checksum.
    void StartSum(QZUInt64 start);
    /// Writes the checksum of all words since it began.
    void Sum();
    /// Writes what is still in memory, and returns the offset of the next word.
    QZInt64 Finish();

private:
    void Put();
    void AddPending();

    QZFile* m_file;
    std::unique_ptr<unsigned char[]> m_piece;
    QZInt64 m_used = 0;
    QZInt64 m_summed = 0;
    QZInt64 m_at;
    QZUInt64 m_sum = kSumStart;
};

/// A file beside a buffered file: the name of the file with an ending.
class SideFile
{
public:
    SideFile(QZString* path, const char* ending);
    ~SideFile();
    SideFile(const SideFile&) = delete;
    SideFile& operator=(const SideFile&) = delete;

    /// Null while it is not open.
    QZFile* File() const { return m_file; }

    /// Opens the file when there is one. @throws QZIOException
    bool Find();
    /// Opens the file, or makes it. @throws QZIOException
    void Make();
    /// Flushes the file and, the first time, the entry of its folder. @throws QZIOException
    void Flush();
    /// Makes the content invalid: sets its head to zero, or cuts a large file. @throws QZIOException
    void Clear();
    /// Closes and deletes the file. A file that cannot be deleted is left, and does no harm when it is clear.
    void Discard();
    /// Closes the file and renames it, so that it is never found again. Tells the host; see
    /// QZFileBuffer::TakePutAside. @throws QZIOException
    void PutAside();

private:
    QZString* m_path;
    QZFile* m_file = nullptr;
    bool m_settled = false;
};

/// The paths of the files that were put aside since the last call, one a line; null when there is none.
QZString* TakePutAside();

}  // namespace recovery

#endif
