#include "os/os_stream.h"

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_exception.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_trace.h"
#include "os/internal/os_opened_file.h"
#include "os/os_thread.h"

const QZInt64 QZStream::MemorySizeDefault;
const QZInt64 QZFileStream::Type;

namespace
{

/// The number of bytes from a position to the end. A position far before the start makes it wrap around;
/// nothing is read then.
QZInt64 Left(QZInt64 end, QZInt64 position)
{
    return static_cast<QZInt64>(static_cast<QZUInt64>(end) - static_cast<QZUInt64>(position));
}

}  // namespace

QZStream::QZStream() : QZStream(MemorySizeDefault) {}

QZStream::QZStream(QZInt64 memoryLimit) : QZStream(memoryLimit, -1) {}

QZStream::QZStream(QZInt64 memoryLimit, QZInt64 blockSize)
    : QZBuffer(memoryLimit, blockSize), m_position(0), m_end(0)
{}

QZStream::~QZStream() = default;

QZInt64 QZStream::ReadByte(unsigned char* value) { return Read(value, 1); }

QZInt64 QZStream::Read(void* target, QZInt64 size)
{
    if (m_position >= m_end) return 0;
    const QZInt64 left = Left(m_end, m_position);
    const QZInt64 count = QZBuffer::Read(m_position, target, size < left ? size : left);
    m_position += count;
    return count;
}

QZInt64 QZStream::WriteByte(unsigned char value) { return Write(&value, 1); }

QZInt64 QZStream::Write(const void* source, QZInt64 size)
{
    const QZInt64 count = QZBuffer::Write(m_end, source, size);
    m_end += count;
    return count;
}

void QZStream::Seek(QZInt64 position) { m_position = position; }

// ---------------------------------------------------------------------------------------------------------------------

namespace
{

/// The number of bytes that ReadLine searches together.
constexpr QZInt64 kWindowSize = 256;

/// The bytes of CR LF in an encoding, and the bytes of a character.
struct LineEnd
{
    unsigned char bytes[8];
    QZInt64 size;
    QZInt64 unit;
};

LineEnd LineEndOf(QZInt64 encoding)
{
    if (encoding == QZEncodingType::UTF16LE) return {{13, 0, 10, 0}, 4, 2};
    if (encoding == QZEncodingType::UTF16BE) return {{0, 13, 0, 10}, 4, 2};
    if (encoding == QZEncodingType::UTF32LE) return {{13, 0, 0, 0, 10, 0, 0, 0}, 8, 4};
    if (encoding == QZEncodingType::UTF32BE) return {{0, 0, 0, 13, 0, 0, 0, 10}, 8, 4};
    return {{13, 10}, 2, 1};
}

QZInt64 FindLineEnd(const LineEnd& lineEnd, const unsigned char* window, QZInt64 size)
{
    for (QZInt64 at = 0; at + lineEnd.size <= size; at += lineEnd.unit)
    {
        QZInt64 same = 0;
        while (same < lineEnd.size && window[at + same] == lineEnd.bytes[same]) ++same;
        if (same == lineEnd.size) return at;
    }
    return -1;
}

void AppendDecoded(QZInt64 encoding, unsigned char* bytes, QZInt64 size, QZString* text)
{
    if (size <= 0) return;
    QZScopedString piece(QZStringFactory::CreateString());
    QZEncoding::GetString(encoding, bytes, size, piece.Get());
    text->Append(piece.Get());
}

}  // namespace

QZFileStream::QZFileStream(QZFile* file, QZInt64 encoding)
    : QZStream(MemorySizeDefault), m_encoding(encoding), m_file(file)
{
    m_end = file->GetSize();
}

QZFileStream::~QZFileStream()
{
    try
    {
        WriteBackAll();
    }
    catch (QZException* e)
    {
        // Close has reported the failure; deleting the stream directly cannot report one.
        QZExceptionFactory::Recycle(&e);
    }
    DeleteBlocks();
    QZFile::Close(&m_file);
}

QZInt64 QZFileStream::GetType() { return Type; }

QZFileStream* QZFileStream::Open(QZString* path) { return Open(path, 0); }

QZFileStream* QZFileStream::Open(QZString* path, QZInt64 encoding)
{
    try
    {
        QZOpenedFile file(QZFile::Open(path));
        QZFileStream* stream =
            new QZFileStream(file.Get(), encoding != 0 ? encoding : file->GetTextFileEncodingType());
        file.Release();
        return stream;
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZFileStream"), QZ_W("Open"))
            .Argument(QZ_W("QZString*"), path)
            .Argument(QZ_W("QZInt64"), encoding);
        throw;
    }
}

void QZFileStream::Close(QZFileStream** stream)
{
    if (stream == nullptr || *stream == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    QZFileStream* closing = *stream;
    *stream = nullptr;
    try
    {
        closing->WriteBackAll();
    }
    catch (QZException* e)
    {
        closing->DeleteBlocks();
        delete closing;
        QZTrace(e, QZ_W("QZFileStream"), QZ_W("Close"));
        throw;
    }
    delete closing;
}

QZInt64 QZFileStream::ReadByte()
{
    unsigned char value = 0;
    return ReadByte(&value) == 1 ? value : -1;
}

QZInt64 QZFileStream::ReadLine(QZString* text)
{
    text->Clear();
    if (m_position >= m_end) return -1;
    const LineEnd lineEnd = LineEndOf(m_encoding);
    unsigned char window[kWindowSize];
    while (m_position < m_end && !QZThread::IsThreadsAbort())
    {
        const QZInt64 left = Left(m_end, m_position);
        if (left <= 0)
        {
            m_position = m_end;
            break;
        }
        const QZInt64 size = left < kWindowSize ? left : kWindowSize;
        QZBuffer::Read(m_position, window, size);
        // Each window is searched and decoded by itself, so a CR LF across two windows is not found.
        const QZInt64 found = FindLineEnd(lineEnd, window, size);
        AppendDecoded(m_encoding, window, found < 0 ? size : found, text);
        m_position += found < 0 ? size : found + lineEnd.size;
        if (found >= 0) break;
    }
    return text->GetSize();
}

QZString* QZFileStream::ReadToEnd()
{
    QZScopedString text(QZStringFactory::CreateString());
    try
    {
        if (m_position < m_end)
        {
            QZScopedData data(QZBuffer::Read(m_position, Left(m_end, m_position)));
            m_position = m_end;
            QZEncoding::GetString(m_encoding, data.Get(), text.Get());
        }
        return text.Release();
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZFileStream"), QZ_W("ReadToEnd"));
        throw;
    }
}

QZInt64 QZFileStream::Write(QZString* text)
{
    if (text == nullptr || text->GetSize() == 0) return 0;
    QZScopedData data(QZDataFactory::CreateData());
    try
    {
        QZEncoding::GetData(m_encoding, text, data.Get());
        return QZStream::Write(data->GetPointer(), data->GetSize());
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZFileStream"), QZ_W("Write")).Argument(QZ_W("QZString*"), text);
        throw;
    }
}

QZInt64 QZFileStream::WriteLine(QZString* text)
{
    const QZInt64 count = Write(text);
    const LineEnd lineEnd = LineEndOf(m_encoding);
    return count + QZStream::Write(lineEnd.bytes, lineEnd.size);
}

void QZFileStream::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

QZBlock* QZFileStream::NewBlock() { return new QZFileBlock(m_file); }

void QZFileStream::Flush() { m_file->Sync(); }
