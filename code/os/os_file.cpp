#include "os/os_file.h"

#include <cstring>
#include <string>
#include <utility>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_exception.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_memory.h"
#include "fw/fw_search.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_path_text.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_trace.h"
#include "os/internal/os_file_inside.h"
#include "os/internal/os_path_failure.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_file.h"
#include "sys/internal/sys_text.h"

const unsigned int QZFileOptions::Read;
const unsigned int QZFileOptions::Write;
const unsigned int QZFileOptions::ShareRead;
const unsigned int QZFileOptions::ReadWrite;
const unsigned int QZFileOptions::ShareWrite;
const unsigned int QZFileOptions::ShareReadWrite;
const QZInt64 QZFile::Type;

namespace
{

QZInt64 SystemNumber() { return static_cast<QZInt64>(os::LastError()); }

QZIOException* Failed(QZInt64 code) { return QZExceptionFactory::CreateIOException(code, SystemNumber()); }

/// The exception of a failed open or creation. A file that exists has a code of its own.
QZIOException* OpenFailed()
{
    if (os::LastError() == os::ErrorFileExists())
        return QZExceptionFactory::CreateIOException(QZIOExceptionCode::FileExistsCreateFailed);
    return Failed(QZIOExceptionCode::OperationFailed);
}

template <typename Text>
[[noreturn]] void ThrowFor(QZIOException* exception, const QZWChar* method, Text path)
{
    throw QZTrace(exception, QZ_W("QZFile"), method).Argument(QZTextTypeName(path), path).Exception();
}

/// Runs the body of an operation. An exception gets a trace frame of the operation with these arguments.
template <typename Body, typename... Arguments>
auto Framed(const QZWChar* method, Body body, Arguments... arguments)
{
    try
    {
        return body();
    }
    catch (QZException* e)
    {
        QZTrace trace(e, QZ_W("QZFile"), method);
        (trace.Argument(arguments.first, arguments.second), ...);
        throw;
    }
}

std::pair<const QZWChar*, QZInt64> Named(const QZWChar* type, QZInt64 value) { return {type, value}; }

/// Sizes are passed to the platform as 32 bits. A small negative size would become nearly 4 GiB, more than
/// any buffer has, and is refused.
bool PlatformSize(QZInt64 size, QZUInt32* asked)
{
    *asked = static_cast<QZUInt32>(size);
    if (size >= 0 || *asked <= 0x7FFFFFFF) return true;
    os::SetLastError(os::ErrorBadAddress());
    return false;
}

QZInt64 OpenHandle(const QZWChar* path, unsigned int options)
{
    const bool shareRead = (options & QZFileOptions::ShareRead) > 3;
    // Sharing for writing needs both bits of ShareWrite; one of them alone does not share.
    const bool shareWrite = (options & QZFileOptions::ShareWrite) > 9;
    return os::FileOpen(path, (options & QZFileOptions::Read) != 0, (options & QZFileOptions::Write) != 0,
                        shareRead, shareWrite);
}

QZInt64 AddressOf(const void* p) { return static_cast<QZInt64>(reinterpret_cast<QZUInt64>(p)); }

/// Calls action(start, length) for every line: the text before each CR LF, and the rest.
template <typename Action>
void ForEachLine(const char* text, QZInt64 size, Action action)
{
    QZInt64 start = 0;
    for (QZInt64 i = 0; i + 1 < size; ++i)
    {
        if (text[i] != '\r' || text[i + 1] != '\n') continue;
        action(start, i - start);
        start = i + 2;
        ++i;
    }
    action(start, size - start);
}

}  // namespace

// ---- Making and giving back

QZFile::QZFile() : m_handle(0), m_path(nullptr) {}

QZFile::~QZFile()
{
    QZFile::CloseHandle();
    if (m_path != nullptr) QZStringFactory::Recycle(&m_path);
}

QZInt64 QZFile::GetType() { return Type; }

void QZFile::Init()
{
    m_handle = 0;
    m_path = nullptr;
}

void QZFile::CloseHandle()
{
    QZInt64 handle = m_handle;
    m_handle = 0;
    if (handle != 0) os::FileClose(handle);
}

template <typename Text>
QZFile* QZFile::OpenAs(Text path, QZUInt32 options, bool named)
{
    QZPathText text(path);
    QZInt64 handle = 0;
    QZIOException* failure = nullptr;
    if (text.TooLong())
    {
        failure = PathTooLong();
    }
    else
    {
        handle = OpenHandle(text.Wide(), options);
        if (handle == 0) failure = OpenFailed();
    }
    if (failure != nullptr)
    {
        QZTrace trace(failure, QZ_W("QZFile"), QZ_W("Open"));
        trace.Argument(QZTextTypeName(path), path);
        if (named) trace.Argument(QZ_W("QZUInt32"), static_cast<QZInt64>(options));
        throw trace.Exception();
    }
    return WithHandle(handle, text.Text());
}

QZFile* QZFile::WithHandle(QZInt64 handle, QZString* path)
{
    QZFile* file = new QZFile;
    file->Init();
    file->m_handle = handle;
    file->m_path = QZStringFactory::CreateString(path);
    return file;
}

QZFile* QZFileInside::OpenUnlessInUse(QZString* path, Role role)
{
    const QZPathText text(path);
    const QZInt64 handle =
        text.TooLong() ? 0
                       : os::FileOpen(text.Wide(), true, role == Role::Writer, true, role == Role::Copier);
    if (handle != 0) return QZFile::WithHandle(handle, path);
    QZIOException* failure = nullptr;
    if (text.TooLong())
        failure = PathTooLong();
    else if (os::LastError() == os::ErrorInUse())
        return nullptr;
    else
        failure = OpenFailed();
    ThrowFor(failure, QZ_W("Open"), path);
}

QZInt64 QZFileInside::Handle(const QZFile* file) { return file->m_handle; }

QZFile* QZFile::Open(const char* path) { return OpenAs(path, QZFileOptions::ShareReadWrite, false); }
QZFile* QZFile::Open(const QZWChar* path) { return OpenAs(path, QZFileOptions::ShareReadWrite, false); }
QZFile* QZFile::Open(QZString* path) { return OpenAs(path, QZFileOptions::ShareReadWrite, false); }
QZFile* QZFile::Open(const char* path, unsigned int options) { return OpenAs(path, options, true); }
QZFile* QZFile::Open(const QZWChar* path, unsigned int options) { return OpenAs(path, options, true); }
QZFile* QZFile::Open(QZString* path, unsigned int options) { return OpenAs(path, options, true); }

void QZFile::Close(QZFile** file)
{
    if (file == nullptr || *file == nullptr) return;
    (*file)->CloseHandle();
    delete *file;
    *file = nullptr;
}

template <typename Text>
void QZFile::CreateAs(Text path)
{
    QZPathText text(path);
    if (text.TooLong()) ThrowFor(PathTooLong(), QZ_W("Create"), path);
    QZInt64 handle = os::FileCreate(text.Wide());
    if (handle == 0) ThrowFor(OpenFailed(), QZ_W("Create"), path);
    os::FileClose(handle);
}

void QZFile::Create(const char* path) { CreateAs(path); }
void QZFile::Create(const QZWChar* path) { CreateAs(path); }
void QZFile::Create(QZString* path) { CreateAs(path); }

namespace
{

template <typename Text>
void DeleteAs(Text path)
{
    QZPathText text(path);
    if (text.TooLong()) ThrowFor(PathTooLong(), QZ_W("Delete"), path);
    if (!os::FileDelete(text.Wide()))
        ThrowFor(Failed(QZIOExceptionCode::OperationFailed), QZ_W("Delete"), path);
}

template <typename Text>
QZBool ExistsAs(Text path)
{
    QZPathText text(path);
    if (text.TooLong()) ThrowFor(PathTooLong(), QZ_W("Exists"), path);
    return os::FileKindOf(text.Wide()) == os::FileKind::File;
}

/// A path for Rename: narrow paths unchanged, wide ones converted to the narrow page.
struct NarrowPath
{
    explicit NarrowPath(const char* path) : text(path != nullptr ? path : ""), length(text.size()) {}
    explicit NarrowPath(const QZWChar* path) { Convert(QZPathText(path)); }
    explicit NarrowPath(QZString* path) { Convert(QZPathText(path)); }
    bool TooLong() const { return static_cast<QZInt64>(length) > kPathLengthMax; }

    std::string text;
    std::size_t length = 0;

private:
    void Convert(const QZPathText& path)
    {
        length = static_cast<std::size_t>(path.Length());
        QZInt64 size = os::WideToNarrow(path.Wide(), path.Length(), nullptr, 0);
        text.resize(static_cast<std::size_t>(size));
        os::WideToNarrow(path.Wide(), path.Length(), text.data(), size);
    }
};

template <typename Text>
void RenameAs(Text from, Text to)
{
    NarrowPath narrowFrom(from);
    NarrowPath narrowTo(to);
    QZIOException* failure = nullptr;
    if (narrowFrom.TooLong() || narrowTo.TooLong())
        failure = PathTooLong();
    else if (!os::FileRename(narrowFrom.text.c_str(), narrowTo.text.c_str()))
        failure = Failed(QZIOExceptionCode::OperationFailed);
    if (failure == nullptr) return;
    throw QZTrace(failure, QZ_W("QZFile"), QZ_W("Rename"))
        .Argument(QZTextTypeName(from), from)
        .Argument(QZTextTypeName(to), to)
        .Exception();
}

}  // namespace

void QZFile::Delete(const char* path) { DeleteAs(path); }
void QZFile::Delete(const QZWChar* path) { DeleteAs(path); }
void QZFile::Delete(QZString* path) { DeleteAs(path); }

QZBool QZFile::Exists(const char* path) { return ExistsAs(path); }
QZBool QZFile::Exists(const QZWChar* path) { return ExistsAs(path); }
QZBool QZFile::Exists(QZString* path) { return ExistsAs(path); }

void QZFile::Rename(const char* from, const char* to) { RenameAs(from, to); }
void QZFile::Rename(const QZWChar* from, const QZWChar* to) { RenameAs(from, to); }
void QZFile::Rename(QZString* from, QZString* to) { RenameAs(from, to); }

// ---- Bytes

QZInt64 QZFile::Write(QZInt64 offset, const void* buffer, QZInt64 size)
{
    QZUInt32 asked;
    QZInt64 written = PlatformSize(size, &asked) ? os::FileWrite(m_handle, offset, buffer, asked) : -1;
    if (written >= 0) return written;
    throw QZTrace(Failed(QZIOExceptionCode::WriteFailed), QZ_W("QZFile"), QZ_W("Write"))
        .Argument(QZ_W("QZInt64"), offset)
        .Argument(QZ_W("QZPVoid"), AddressOf(buffer))
        .Argument(QZ_W("QZInt64"), size)
        .Exception();
}

QZInt64 QZFile::Write(QZInt64 offset, QZData* data)
{
    if (data == nullptr)
        QZRaise(QZExceptionCode::NullPointer, QZ_W("QZFile"), QZ_W("Write"))
            .Argument(QZ_W("QZInt64"), offset)
            .Argument(QZ_W("QZData*"), nullptr, 0)
            .Throw();
    try
    {
        return Write(offset, data->GetPointer(), data->GetSize());
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZFile"), QZ_W("Write"))
            .Argument(QZ_W("QZInt64"), offset)
            .Argument(QZ_W("QZData*"), data->GetPointer(), data->GetSize());
        throw;
    }
}

QZInt64 QZFile::Read(QZInt64 offset, void* buffer, QZInt64 size)
{
    QZUInt32 asked;
    QZInt64 read = PlatformSize(size, &asked) ? os::FileRead(m_handle, offset, buffer, asked) : -1;
    if (read >= 0) return read;
    throw QZTrace(Failed(QZIOExceptionCode::ReadFailed), QZ_W("QZFile"), QZ_W("Read"))
        .Argument(QZ_W("QZInt64"), offset)
        .Argument(QZ_W("QZPVoid"), AddressOf(buffer))
        .Argument(QZ_W("QZInt64"), size)
        .Exception();
}

QZData* QZFile::Read(QZInt64 offset, QZInt64 size)
{
    QZScopedData data(QZDataFactory::CreateData());
    try
    {
        data->NewSize(size);
        QZInt64 read = Read(offset, data->GetPointer(), size);
        if (read != size) data->NewSize(read);
        return data.Release();
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZFile"), QZ_W("Read"))
            .Argument(QZ_W("QZInt64"), offset)
            .Argument(QZ_W("QZInt64"), size);
        throw;
    }
}

QZData* QZFile::ReadToEnd()
{
    return Framed(QZ_W("ReadToEnd"), [&] { return Read(0, GetSize()); });
}

QZInt64 QZFile::Append(const void* buffer, QZInt64 size)
{
    return Framed(
        QZ_W("Append"), [&] { return Write(GetSize(), buffer, size); },
        Named(QZ_W("QZPVoid"), AddressOf(buffer)), Named(QZ_W("QZInt64"), size));
}

void QZFile::NewSize(QZInt64 size)
{
    if (os::FileSetSize(m_handle, size)) return;
    throw QZTrace(Failed(QZIOExceptionCode::OperationFailed), QZ_W("QZFile"), QZ_W("NewSize"))
        .Argument(QZ_W("QZInt64"), size)
        .Exception();
}

QZInt64 QZFile::GetSize()
{
    QZInt64 size = os::FileGetSize(m_handle);
    if (size >= 0) return size;
    throw QZTrace(Failed(QZIOExceptionCode::OperationFailed), QZ_W("QZFile"), QZ_W("GetSize")).Exception();
}

void QZFile::Sync()
{
    if (os::FileSync(m_handle)) return;
    throw QZTrace(Failed(QZIOExceptionCode::OperationFailed), QZ_W("QZFile"), QZ_W("Sync")).Exception();
}

namespace
{

QZInt64 CopyPieces(QZFile* source, QZInt64 sourceOffset, QZFile* target, QZInt64 targetOffset, QZInt64 length,
                   QZInt64 chunk, QZInt64* progress)
{
    if (length <= 0) return 0;
    QZScopedBuffer buffer(MemoryAllocate(chunk < length ? chunk : length));
    if (buffer.Get() == nullptr) throw QZExceptionFactory::CreateException(QZExceptionCode::OutOfMemory);
    QZInt64 copied = 0;
    while (copied < length)
    {
        QZInt64 piece = length - copied < chunk ? length - copied : chunk;
        // With pieces of 0 bytes the loop would not end, so such a piece counts as incomplete.
        if (piece == 0 || source->Read(sourceOffset + copied, buffer.Get(), piece) != piece)
            throw Failed(QZIOExceptionCode::OperationFailed);
        if (target->Write(targetOffset + copied, buffer.Get(), piece) != piece)
            throw Failed(QZIOExceptionCode::OperationFailed);
        copied += piece;
        if (progress != nullptr) *progress += piece;
    }
    return copied;
}

}  // namespace

QZInt64 QZFile::Copy(QZFile* source, QZInt64 sourceOffset, QZFile* target, QZInt64 targetOffset,
                     QZInt64 length, QZInt64 chunk, QZInt64* progress)
{
    try
    {
        return CopyPieces(source, sourceOffset, target, targetOffset, length, chunk, progress);
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZFile"), QZ_W("Copy"))
            .Argument(QZ_W("QZFile*"), AddressOf(source))
            .Argument(QZ_W("QZInt64"), sourceOffset)
            .Argument(QZ_W("QZFile*"), AddressOf(target))
            .Argument(QZ_W("QZInt64"), targetOffset)
            .Argument(QZ_W("QZInt64"), length)
            .Argument(QZ_W("QZInt64"), chunk)
            .Argument(QZ_W("QZInt64*"), AddressOf(progress));
        throw;
    }
}

namespace
{

bool SameBytes(QZFile* one, QZFile* other)
{
    QZInt64 size = one->GetSize();
    if (other->GetSize() != size) return false;
    constexpr QZInt64 kPiece = 65536;
    QZScopedData mine(QZDataFactory::CreateData());
    QZScopedData theirs(QZDataFactory::CreateData());
    mine->NewSize(kPiece);
    theirs->NewSize(kPiece);
    for (QZInt64 offset = 0; offset < size; offset += kPiece)
    {
        QZInt64 read = one->Read(offset, mine->GetPointer(), kPiece);
        if (other->Read(offset, theirs->GetPointer(), kPiece) != read) return false;
        if (!QZMemory::Equals(mine->GetPointer(), theirs->GetPointer(), read)) return false;
    }
    return true;
}

}  // namespace

QZBool QZFile::Equals(QZFile* other)
{
    if (other == nullptr) return 0;
    if (other == this) return 1;
    return Framed(
        QZ_W("Equals"), [&]() -> QZBool { return SameBytes(this, other); },
        Named(QZ_W("QZFile*"), AddressOf(other)));
}

// ---- Text

QZInt64 QZFile::LineCount()
{
    QZScopedData all(Framed(QZ_W("LineCount"), [&] { return ReadToEnd(); }));
    QZInt64 count = 0;
    ForEachLine(static_cast<const char*>(all->GetPointer()), all->GetSize(),
                [&](QZInt64, QZInt64) { ++count; });
    return count;
}

QZInt64 QZFile::ReadLine(char** lines)
{
    QZScopedData all(Framed(
        QZ_W("ReadLine"), [&] { return ReadToEnd(); }, Named(QZ_W("QZChar**"), AddressOf(lines))));
    const char* text = static_cast<const char*>(all->GetPointer());
    QZInt64 index = 0;
    ForEachLine(text, all->GetSize(), [&](QZInt64 start, QZInt64 length) {
        char* line = lines != nullptr ? lines[index] : nullptr;
        ++index;
        if (line == nullptr) return;
        QZMemCopy(line, text + start, length);
        line[length] = 0;
    });
    return index - 1;
}

QZInt64 QZFile::GetVersion(char* result)
{
    static const char kPattern[] =
        "F\0i\0l\0e\0V\0e\0r\0s\0i\0o\0n";  // the literal's end makes the 22nd byte
    constexpr QZInt64 kResultSize = 32;
    QZScopedData all(Framed(
        QZ_W("GetVersion"), [&] { return ReadToEnd(); }, Named(QZ_W("QZChar*"), AddressOf(result))));
    const unsigned char* bytes = static_cast<const unsigned char*>(all->GetPointer());
    QZInt64 size = all->GetSize();
    QZInt64 start = QZSearch::New(bytes, size, kPattern, sizeof(kPattern));
    if (start < 0) return 0;
    std::memset(result, 0, kResultSize);
    QZInt64 kept = 0;
    for (QZInt64 i = start + 25; i < start + 25 + 256 && i < size && kept < kResultSize; ++i)
    {
        if (i + 30 < size && bytes[i + 30] == 1) break;
        if (bytes[i] < ',' || bytes[i] > '9') continue;
        result[kept++] = bytes[i] == ',' ? '.' : static_cast<char>(bytes[i]);
    }
    return kept;
}

namespace
{

QZInt64 EncodingOf(QZFile* file)
{
    unsigned char mark[4] = {};
    QZInt64 size = file->Read(0, mark, sizeof(mark));
    auto begins = [&](const char* bytes, QZInt64 count) {
        return size >= count && std::memcmp(mark, bytes, static_cast<std::size_t>(count)) == 0;
    };
    if (begins("\xEF\xBB\xBF", 3)) return QZEncodingType::UTF8;
    // The two-byte mark is tested first: callers get UTF16LE for a UTF-32 little-endian file.
    if (begins("\xFF\xFE", 2)) return QZEncodingType::UTF16LE;
    if (begins("\xFE\xFF", 2)) return QZEncodingType::UTF16BE;
    if (begins("\xFF\xFE\x00\x00", 4)) return QZEncodingType::UTF32LE;
    if (begins("\x00\x00\xFE\xFF", 4)) return QZEncodingType::UTF32BE;
    QZScopedData all(file->ReadToEnd());
    return QZEncoding::IsLegalUTF8(all->GetPointer(), all->GetSize()) ? QZEncodingType::UTF8
                                                                      : QZEncodingType::ANSI;
}

}  // namespace

QZInt64 QZFile::GetTextFileEncodingType()
{
    return Framed(QZ_W("GetTextFileEncodingType"), [&] { return EncodingOf(this); });
}

void QZFile::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
