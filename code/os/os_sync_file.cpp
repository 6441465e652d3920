#include "os/internal/os_sync_file.h"

#include <algorithm>
#include <memory>

#include "fw/fw_exception_code.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "os/internal/os_opened_file.h"
#include "sys/sys_bytes.h"

// Layout in little-endian words of 8 bytes: mark, number of runs, total length, 0; for each run its offset,
// its size and its bytes, padded with zeros to a multiple of 8; the checksum of all words before it.
// docs/database-file.md documents it.

namespace
{
constexpr QZUInt64 kMark = 0x0A31434E59535A51ull;  // "QZSYNC1\n"
constexpr QZInt64 kHeadSize = 32;
constexpr QZInt64 kRunHeadSize = 16;
constexpr QZInt64 kSumSize = 8;

/// A larger file is cut to 0 bytes when it is emptied; a smaller one keeps its disk space.
constexpr QZInt64 kKept = 1 << 20;

/// The bytes of one write or read; a multiple of 8.
constexpr QZInt64 kPiece = 1 << 16;

constexpr QZUInt64 kSumStart = 0xCBF29CE484222325ull;

QZUInt64 AddToSum(QZUInt64 sum, const unsigned char* words, QZInt64 size)
{
    for (QZInt64 i = 0; i < size; i += 8)
    {
        sum = (sum ^ QZLoad<QZUInt64>(words + i)) * 0x100000001B3ull;
        sum ^= sum >> 32;
    }
    return sum;
}

QZInt64 RoundUp(QZInt64 size) { return (size + 7) / 8 * 8; }

[[noreturn]] void Throw(QZInt64 code, const QZWChar* method, QZInt64 offset, QZInt64 size)
{
    QZRaise(QZIOFailure(code), QZ_W("QZFileBuffer"), method)
        .Argument(QZ_W("QZInt64"), offset)
        .Argument(QZ_W("QZInt64"), size)
        .Throw();
}

void WriteAll(QZFile* file, QZInt64 offset, const unsigned char* bytes, QZInt64 size)
{
    const QZInt64 done = QZWriteWhole(file, offset, bytes, size);
    if (done < size) Throw(QZIOExceptionCode::WriteFailed, QZ_W("Sync"), offset + done, size - done);
}

/// Reads bytes that the file is known to hold: fewer are a failure.
void ReadAll(QZFile* file, QZInt64 offset, unsigned char* bytes, QZInt64 size)
{
    const QZInt64 done = QZReadWhole(file, offset, bytes, size);
    if (done < size) Throw(QZIOExceptionCode::ReadFailed, QZ_W("Open"), offset + done, size - done);
}

/// Writes words to the file in pieces and adds them to the checksum.
class Writer
{
public:
    explicit Writer(QZFile* file) : m_file(file), m_piece(std::make_unique<unsigned char[]>(kPiece)) {}

    void Word(QZUInt64 word)
    {
        if (m_used == kPiece) Put();
        QZStore(m_piece.get() + m_used, word);
        m_used += 8;
    }

    void Bytes(const unsigned char* bytes, QZInt64 size)
    {
        while (size > 0)
        {
            if (m_used == kPiece) Put();
            const QZInt64 count = std::min(size, kPiece - m_used);
            QZMemCopy(m_piece.get() + m_used, bytes, count);
            m_used += count;
            bytes += count;
            size -= count;
        }
        const QZInt64 filled = RoundUp(m_used);
        QZMemClean(m_piece.get() + m_used, filled - m_used);
        m_used = filled;
    }

    void Finish()
    {
        const QZUInt64 sum = AddToSum(m_sum, m_piece.get(), m_used);
        Word(sum);
        Put();
    }

private:
    void Put()
    {
        m_sum = AddToSum(m_sum, m_piece.get(), m_used);
        WriteAll(m_file, m_at, m_piece.get(), m_used);
        m_at += m_used;
        m_used = 0;
    }

    QZFile* m_file;
    std::unique_ptr<unsigned char[]> m_piece;
    QZInt64 m_used = 0;
    QZInt64 m_at = 0;
    QZUInt64 m_sum = kSumStart;
};
}  // namespace

SyncFile::SyncFile(QZString* path, QZFile* file)
    : m_path(QZStringFactory::CreateString(path)), m_file(nullptr), m_target(file)
{
    try
    {
        m_path->Append(".sync");
        if (!QZFile::Exists(m_path)) QZFile::Create(m_path);
        m_file = QZFile::Open(m_path);
        m_holding = m_target->GetSize() > 0 && IsComplete();
        if (m_holding)
            Apply();
        else
            Empty();
    }
    catch (QZException*)
    {
        if (m_file != nullptr) QZFile::Close(&m_file);
        QZStringFactory::Recycle(&m_path);
        throw;
    }
}

SyncFile::~SyncFile()
{
    QZFile::Close(&m_file);
    try
    {
        if (!m_holding) QZFile::Delete(m_path);
    }
    catch (QZException* e)
    {
        // An empty file that is not deleted does no harm.
        QZExceptionFactory::Recycle(&e);
    }
    QZStringFactory::Recycle(&m_path);
}

void SyncFile::Hold(const std::vector<Run>& runs)
{
    QZInt64 length = kHeadSize + kSumSize;
    for (const Run& run : runs) length += kRunHeadSize + RoundUp(run.size);
    Writer writer(m_file);
    writer.Word(kMark);
    writer.Word(runs.size());
    writer.Word(static_cast<QZUInt64>(length));
    writer.Word(0);
    for (const Run& run : runs)
    {
        writer.Word(static_cast<QZUInt64>(run.offset));
        writer.Word(static_cast<QZUInt64>(run.size));
        writer.Bytes(run.bytes, run.size);
    }
    writer.Finish();
    m_file->Sync();
    m_holding = true;
}

void SyncFile::Release()
{
    m_holding = false;
    Empty();
}

void SyncFile::Empty()
{
    const QZInt64 size = m_file->GetSize();
    if (size == 0) return;
    if (size > kKept) return m_file->NewSize(0);
    // Without its mark the file holds no sync, and the next sync reuses its disk space.
    const unsigned char nothing[kHeadSize] = {};
    WriteAll(m_file, 0, nothing, kHeadSize);
}

bool SyncFile::IsComplete()
{
    const QZInt64 size = m_file->GetSize();
    if (size < kHeadSize + kSumSize) return false;
    unsigned char head[kHeadSize];
    ReadAll(m_file, 0, head, kHeadSize);
    const QZInt64 length = QZLoad<QZInt64>(head + 16);
    if (QZLoad<QZUInt64>(head) != kMark || length < kHeadSize + kSumSize || length > size || length % 8 != 0)
        return false;
    const auto piece = std::make_unique<unsigned char[]>(kPiece);
    QZUInt64 sum = kSumStart;
    const QZInt64 end = length - kSumSize;
    for (QZInt64 at = 0; at < end;)
    {
        const QZInt64 count = std::min(kPiece, end - at);
        ReadAll(m_file, at, piece.get(), count);
        sum = AddToSum(sum, piece.get(), count);
        at += count;
    }
    unsigned char last[kSumSize];
    ReadAll(m_file, end, last, kSumSize);
    return QZLoad<QZUInt64>(last) == sum;
}

void SyncFile::Apply()
{
    unsigned char head[kHeadSize];
    ReadAll(m_file, 0, head, kHeadSize);
    const auto piece = std::make_unique<unsigned char[]>(kPiece);
    QZInt64 at = kHeadSize;
    for (QZUInt64 left = QZLoad<QZUInt64>(head + 8); left > 0; --left)
    {
        unsigned char run[kRunHeadSize];
        ReadAll(m_file, at, run, kRunHeadSize);
        at += kRunHeadSize;
        const QZInt64 offset = QZLoad<QZInt64>(run);
        const QZInt64 size = QZLoad<QZInt64>(run + 8);
        for (QZInt64 done = 0; done < size;)
        {
            const QZInt64 count = std::min(kPiece, size - done);
            ReadAll(m_file, at + done, piece.get(), count);
            WriteAll(m_target, offset + done, piece.get(), count);
            done += count;
        }
        at += RoundUp(size);
    }
    m_target->Sync();
    Release();
}
