#include "os/os_settings.h"

#include <cstring>

#include "fw/fw_collection.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_trace.h"
#include "os/internal/os_opened_file.h"

const QZInt64 QZSettingsAdapter::Type;

namespace
{
const QZWChar* const kClass = QZ_W("QZSettingsAdapter");

/// Spare bytes that a text gets when a value changes.
constexpr QZInt64 kSpare = 2048;

void* Allocate(QZInt64 size, const QZWChar* method)
{
    void* buffer = MemoryAllocateClean(size);
    if (buffer != nullptr) return buffer;
    QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), kClass, method)
        .Argument(QZ_W("QZInt64"), size)
        .Throw();
}

/// The bytes of a text in an encoding.
class Encoded
{
public:
    Encoded(QZInt64 encoding, QZString* text) : m_data(QZDataFactory::CreateData())
    {
        if (text != nullptr && text->GetLength() > 0) QZEncoding::GetData(encoding, text, m_data.Get());
    }

    const void* Pointer() const { return m_data->GetPointer(); }
    QZInt64 Size() const { return m_data->GetSize(); }

private:
    QZScopedData m_data;
};

/// A path in any form as a string, for the time of a call.
template <typename Path>
QZScopedString TextOf(Path path)
{
    return QZScopedString(QZStringFactory::CreateString(path));
}
}  // namespace

QZSettingsAdapter::QZSettingsAdapter() : m_encoding(QZEncodingType::UTF8) {}
QZSettingsAdapter::QZSettingsAdapter(const char* path) : QZSettingsAdapter() { Load(path); }
QZSettingsAdapter::QZSettingsAdapter(const QZWChar* path) : QZSettingsAdapter() { Load(path); }
QZSettingsAdapter::QZSettingsAdapter(QZString* path) : QZSettingsAdapter() { Load(path); }
QZSettingsAdapter::QZSettingsAdapter(const void* path) : QZSettingsAdapter() { Load(path); }
QZSettingsAdapter::QZSettingsAdapter(const void* text, QZInt64 size) : QZSettingsAdapter()
{
    Load(text, size);
}

QZSettingsAdapter::QZSettingsAdapter(const QZSettingsAdapter& other) : QZSettingsAdapter() { *this = other; }

QZSettingsAdapter& QZSettingsAdapter::operator=(const QZSettingsAdapter& other)
{
    if (this == &other) return *this;
    void* text = Allocate(other.m_length + 1, QZ_W("operator="));
    if (other.m_length > 0) QZMemCopy(text, other.m_text, other.m_length);
    Take(text, other.m_length);
    QZObject::operator=(other);
    m_saveOnChange = other.m_saveOnChange;
    m_encoding = other.m_encoding;
    m_fromFile = other.m_fromFile;
    if (other.m_path != nullptr)
    {
        if (m_path == nullptr) m_path = static_cast<char*>(Allocate(kPathBytes, QZ_W("operator=")));
        std::memcpy(m_path, other.m_path, kPathBytes);
    }
    return *this;
}

QZSettingsAdapter::~QZSettingsAdapter()
{
    if (m_path != nullptr) MemoryFree(m_path);
    if (m_text != nullptr) MemoryFree(m_text);
}

QZInt64 QZSettingsAdapter::GetType() { return Type; }

void QZSettingsAdapter::Take(void* text, QZInt64 length)
{
    if (m_text != nullptr) MemoryFree(m_text);
    m_text = text;
    m_length = length;
}

void QZSettingsAdapter::LoadFile(QZString* path)
{
    Encoded narrow(QZEncodingType::ANSI, path);
    if (narrow.Size() >= kPathBytes)
    {
        QZRaise(QZIOFailure(QZIOExceptionCode::PathIsTooLong), kClass, QZ_W("Load"))
            .Argument(QZ_W("QZString*"), path)
            .Throw();
    }
    QZOpenedFile file(QZFile::Open(path, QZFileOptions::Read | QZFileOptions::ShareReadWrite));
    try
    {
        const QZInt64 size = file->GetSize();
        QZScopedBuffer text(Allocate(size + 1, QZ_W("Load")));
        const QZInt64 length = file->Read(0, text.Get(), size);
        Take(text.Release(), length);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Load")).Argument(QZ_W("QZString*"), path);
        throw;
    }
    file.Reset();
    if (m_path == nullptr) m_path = static_cast<char*>(Allocate(kPathBytes, QZ_W("Load")));
    std::memset(m_path, 0, kPathBytes);
    std::memcpy(m_path, narrow.Pointer(), static_cast<std::size_t>(narrow.Size()));
    m_fromFile = 1;
}

void QZSettingsAdapter::Load(const char* path) { LoadFile(TextOf(path).Get()); }
void QZSettingsAdapter::Load(const QZWChar* path) { LoadFile(TextOf(path).Get()); }
void QZSettingsAdapter::Load(QZString* path) { LoadFile(TextOf(path).Get()); }
void QZSettingsAdapter::Load(const void* path) { Load(static_cast<const char*>(path)); }

void QZSettingsAdapter::Load(const void* text, QZInt64 size)
{
    if (size < 0 || ((text == nullptr) && size > 0))
    {
        QZRaise(QZExceptionCode::ArgumentOutOfRange, kClass, QZ_W("Load"))
            .Argument(QZ_W("QZPVoid"), text, size < 0 ? 0 : size)
            .Argument(QZ_W("QZInt64"), size)
            .Throw();
    }
    void* copy = Allocate(size + 1, QZ_W("Load"));
    if (size > 0) QZMemCopy(copy, text, size);
    Take(copy, size);
    m_fromFile = 0;
}

void QZSettingsAdapter::Save()
{
    if (!m_fromFile) return;
    QZOpenedFile file(QZFile::Open(m_path));
    try
    {
        if (m_length > 0) file->Write(0, m_text, m_length);
        file->NewSize(m_length);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Save"));
        throw;
    }
}

QZInt64 QZSettingsAdapter::CopySettingsToBuf(void* target)
{
    if (m_length > 0) QZMemCopy(target, m_text, m_length);
    return m_length;
}

QZInt64 QZSettingsAdapter::GetSettingsSize() { return m_length; }

void QZSettingsAdapter::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

QZInt64 QZSettingsAdapter::FindValue(QZString* key)
{
    Encoded bytes(m_encoding, key);
    if (m_length == 0 || bytes.Size() == 0) return -1;
    const QZInt64 position = QZSearch::New(m_text, m_length, bytes.Pointer(), bytes.Size());
    return position < 0 ? -1 : position + bytes.Size();
}

QZInt64 QZSettingsAdapter::ValueEnd(QZInt64 begin) const
{
    const char* text = static_cast<const char*>(m_text);
    QZInt64 end = begin;
    // A semicolon ends the value, so that a comment can follow on the line.
    while (end < m_length && text[end] != '\r' && text[end] != ';') ++end;
    return end;
}

QZBool QZSettingsAdapter::IsKeyExists(QZString* key) { return FindValue(key) >= 0; }

QZInt64 QZSettingsAdapter::GetLength(QZString* key)
{
    const QZInt64 begin = FindValue(key);
    return begin < 0 ? 0 : ValueEnd(begin) - begin;
}

QZString* QZSettingsAdapter::GetValue(QZString* key)
{
    const QZInt64 begin = FindValue(key);
    const QZInt64 length = begin < 0 ? 0 : ValueEnd(begin) - begin;
    if (length == 0) return QZStringFactory::CreateString();
    QZScopedData bytes(QZDataFactory::CreateData());
    try
    {
        bytes->Set(static_cast<const char*>(m_text) + begin, length);
        return QZEncoding::GetString(m_encoding, bytes.Get());
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("GetValue")).Argument(QZ_W("QZString*"), key);
        throw;
    }
}

void QZSettingsAdapter::ReplaceBytes(QZInt64 begin, QZInt64 end, const void* bytes, QZInt64 size)
{
    char* text = static_cast<char*>(Allocate(m_length + size + kSpare, QZ_W("SetValue")));
    const char* old = static_cast<const char*>(m_text);
    if (begin > 0) QZMemCopy(text, old, begin);
    if (size > 0) QZMemCopy(text + begin, bytes, size);
    if (m_length > end) QZMemCopy(text + begin + size, old + end, m_length - end);
    Take(text, begin + size + m_length - end);
}

void QZSettingsAdapter::AddLine(QZString* key, QZString* value)
{
    QZScopedString line(QZStringFactory::CreateString());
    const char* text = static_cast<const char*>(m_text);
    // A last line without a line end gets one first, so that the new entry is a line of its own.
    if (m_length > 0 && text[m_length - 1] != '\n') line->Append(QZ_W("\r\n"));
    line->Append(key);
    line->Append(value);
    line->Append(QZ_W("\r\n"));
    Encoded bytes(m_encoding, line.Get());
    ReplaceBytes(m_length, m_length, bytes.Pointer(), bytes.Size());
}

void QZSettingsAdapter::SetValue(QZString* key, QZString* value)
{
    try
    {
        const QZInt64 begin = FindValue(key);
        if (begin < 0)
        {
            AddLine(key, value);
        }
        else
        {
            Encoded bytes(m_encoding, value);
            ReplaceBytes(begin, ValueEnd(begin), bytes.Pointer(), bytes.Size());
        }
        if (m_saveOnChange) Save();
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("SetValue"))
            .Argument(QZ_W("QZString*"), key)
            .Argument(QZ_W("QZString*"), value);
        throw;
    }
}
