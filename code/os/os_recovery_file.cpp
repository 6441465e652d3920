#include "os/internal/os_recovery_file.h"

#include <algorithm>
#include <mutex>
#include <string>

#include "fw/fw_exception_code.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "os/internal/os_opened_file.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_file.h"
#include "sys/sys_bytes.h"

namespace recovery
{

namespace
{

/// A larger file is cut to 0 bytes when it is cleared; a smaller one keeps its disk space.
constexpr QZInt64 kKept = 1 << 20;

/// Without these bytes no recovery file is valid.
constexpr QZInt64 kMarkedHead = 32;

std::mutex g_putAsideLock;
std::basic_string<QZWChar> g_putAside;

/// The name of a file that is put aside: the first one, or a numbered one.
QZString* AsideName(QZString* name, QZString* path, int number)
{
    name->Clear();
    name->Append(path);
    name->Append(".put-aside");
    if (number == 1) return name;
    name->Append(".");
    name->Append(number);
    return name;
}

[[noreturn]] void Throw(QZInt64 code, const QZWChar* method, QZInt64 offset, QZInt64 size)
{
    QZRaise(QZIOFailure(code), QZ_W("QZFileBuffer"), method)
        .Argument(QZ_W("QZInt64"), offset)
        .Argument(QZ_W("QZInt64"), size)
        .Throw();
}

}  // namespace

QZUInt64 AddToSum(QZUInt64 sum, const unsigned char* words, QZInt64 size)
{
    for (QZInt64 i = 0; i < size; i += 8)
    {
        sum = (sum ^ QZLoad<QZUInt64>(words + i)) * 0x100000001B3ull;
        sum ^= sum >> 32;
    }
    return sum;
}

QZUInt64 SumOf(const unsigned char* bytes, QZInt64 size)
{
    const QZInt64 whole = size / 8 * 8;
    const QZUInt64 sum = AddToSum(kSumStart, bytes, whole);
    if (whole == size) return sum;
    unsigned char last[8] = {};
    QZMemCopy(last, bytes + whole, size - whole);
    return AddToSum(sum, last, 8);
}

void WriteAll(QZFile* file, QZInt64 offset, const unsigned char* bytes, QZInt64 size)
{
    const QZInt64 done = QZWriteWhole(file, offset, bytes, size);
    if (done < size) Throw(QZIOExceptionCode::WriteFailed, QZ_W("Sync"), offset + done, size - done);
}

void ReadAll(QZFile* file, QZInt64 offset, unsigned char* bytes, QZInt64 size)
{
    const QZInt64 done = QZReadWhole(file, offset, bytes, size);
    if (done < size) Throw(QZIOExceptionCode::ReadFailed, QZ_W("Open"), offset + done, size - done);
}

// ---- Writer

Writer::Writer(QZFile* file, QZInt64 at)
    : m_file(file), m_piece(std::make_unique<unsigned char[]>(kPiece)), m_at(at)
{}

void Writer::Word(QZUInt64 word)
{
    if (m_used == kPiece) Put();
    QZStore(m_piece.get() + m_used, word);
    m_used += 8;
}

void Writer::Bytes(const unsigned char* bytes, QZInt64 size)
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

void Writer::StartSum(QZUInt64 start)
{
    m_sum = start;
    m_summed = m_used;
}

void Writer::Sum()
{
    AddPending();
    Word(m_sum);
}

QZInt64 Writer::Finish()
{
    if (m_used > 0) Put();
    return m_at;
}

void Writer::AddPending()
{
    m_sum = AddToSum(m_sum, m_piece.get() + m_summed, m_used - m_summed);
    m_summed = m_used;
}

void Writer::Put()
{
    AddPending();
    WriteAll(m_file, m_at, m_piece.get(), m_used);
    m_at += m_used;
    m_used = 0;
    m_summed = 0;
}

// ---- SideFile

SideFile::SideFile(QZString* path, const char* ending) : m_path(QZStringFactory::CreateString(path))
{
    m_path->Append(ending);
}

SideFile::~SideFile()
{
    QZFile::Close(&m_file);
    QZStringFactory::Recycle(&m_path);
}

bool SideFile::Find()
{
    if (m_file == nullptr && QZFile::Exists(m_path)) m_file = QZFile::Open(m_path);
    return m_file != nullptr;
}

void SideFile::Make()
{
    if (Find()) return;
    QZFile::Create(m_path);
    m_file = QZFile::Open(m_path);
}

void SideFile::Flush()
{
    m_file->Sync();
    if (m_settled) return;
    if (!os::FolderSync(m_path->GetPointer()))
    {
        const QZInt64 number = static_cast<QZInt64>(os::LastError());
        QZRaise(QZIOFailure(QZIOExceptionCode::OperationFailed, number).With(m_path), QZ_W("QZFileBuffer"),
                QZ_W("Sync"))
            .Throw();
    }
    m_settled = true;
}

void SideFile::Clear()
{
    const QZInt64 size = m_file->GetSize();
    if (size == 0) return;
    if (size > kKept) return m_file->NewSize(0);
    const unsigned char nothing[kMarkedHead] = {};
    WriteAll(m_file, 0, nothing, kMarkedHead);
}

void SideFile::Discard()
{
    if (m_file == nullptr) return;
    QZFile::Close(&m_file);
    m_settled = false;
    try
    {
        QZFile::Delete(m_path);
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
}

void SideFile::PutAside()
{
    QZFile::Close(&m_file);
    m_settled = false;
    QZString name;
    int number = 1;
    while (QZFile::Exists(AsideName(&name, m_path, number))) ++number;
    QZFile::Rename(m_path, &name);
    const std::lock_guard<std::mutex> guard(g_putAsideLock);
    if (!g_putAside.empty()) g_putAside.push_back('\n');
    g_putAside += name.GetPointer();
}

QZString* TakePutAside()
{
    std::basic_string<QZWChar> taken;
    {
        const std::lock_guard<std::mutex> guard(g_putAsideLock);
        taken.swap(g_putAside);
    }
    if (taken.empty()) return nullptr;
    return QZStringFactory::CreateString(taken.c_str());
}

}  // namespace recovery
