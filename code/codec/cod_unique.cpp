#include "codec/cod_unique.h"

#include "fw/fw_data.h"
#include "fw/fw_lock.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_time.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_trace.h"

namespace
{

constexpr QZInt64 kMinimumLength = 4;
constexpr QZInt64 kRounds = 8;

}  // namespace

const QZInt64 QZUniqueCode::Type;

QZUniqueCode::QZUniqueCode() : m_input(new QZData), m_section(new QZCriticalSection) {}

QZUniqueCode::QZUniqueCode(const QZUniqueCode& other)
    : QZObject(other), m_input(nullptr), m_section(new QZCriticalSection)
{
    QZCriticalGuard guard(other.m_section);
    m_input = new QZData(*other.m_input);
}

QZUniqueCode& QZUniqueCode::operator=(const QZUniqueCode& other)
{
    if (this == &other) return *this;
    const QZUniqueCode copy(other);
    QZObject::operator=(other);
    QZCriticalGuard guard(m_section);
    m_input->Set(copy.m_input);
    return *this;
}

QZUniqueCode::~QZUniqueCode()
{
    delete m_input;
    delete m_section;
}

QZInt64 QZUniqueCode::GetType() { return Type; }

void QZUniqueCode::Append(const void* bytes, QZInt64 size)
{
    QZCriticalGuard guard(m_section);
    m_input->Append(bytes, size);
}

void QZUniqueCode::Append(QZInt64 value)
{
    QZString text;
    text.Append(value);
    Append(&text);
}

void QZUniqueCode::Append(QZString* text)
{
    if (text != nullptr) Append(text->GetPointer(), text->GetSize());
}

void QZUniqueCode::Append(QZData* data)
{
    QZCriticalGuard guard(m_section);
    m_input->Append(data);
}

void QZUniqueCode::Append(QZDateTime* time)
{
    if (time == nullptr)
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange),
                      QZ_W("QZUniqueCode"), QZ_W("Append"))
            .Argument(QZ_W("QZDateTime*"), static_cast<const QZWChar*>(nullptr))
            .Exception();
    Append(time->ToTimestamp());
}

void QZUniqueCode::Clear()
{
    QZCriticalGuard guard(m_section);
    m_input->Clear();
}

void QZUniqueCode::Mix(QZInt64 length, const QZWChar* method, QZData* target)
{
    if (length < kMinimumLength)
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange),
                      QZ_W("QZUniqueCode"), method)
            .Argument(QZ_W("QZInt64"), length)
            .Exception();
    const QZInt64 size = length / 2;
    QZData sums(size);
    QZByte* sum = static_cast<QZByte*>(sums.GetPointer());
    {
        QZCriticalGuard guard(m_section);
        const QZByte* input = static_cast<const QZByte*>(m_input->GetPointer());
        const QZInt64 inputSize = m_input->GetSize();
        if (inputSize > 0)
        {
            QZInt64 i = 0;
            QZInt64 j = 0;
            for (QZInt64 round = 0; round < kRounds * size; ++round)
            {
                sum[i] = static_cast<QZByte>(sum[i] + input[j]);
                if (++i == size) i = 0;
                if (++j == inputSize) j = 0;
            }
        }
    }
    target->NewSize(2 * size);
    char* out = static_cast<char*>(target->GetPointer());
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (QZInt64 i = 0; i < size; ++i)
    {
        // A single digit is written before its zero. Existing codes have this form.
        const bool single = sum[i] < 16;
        *out++ = kDigits[single ? sum[i] : sum[i] >> 4];
        *out++ = kDigits[single ? 0 : sum[i] & 15];
    }
}

QZString* QZUniqueCode::GetCode(QZInt64 length)
{
    QZData characters;
    Mix(length, QZ_W("GetCode"), &characters);
    return QZStringFactory::CreateString(static_cast<const char*>(characters.GetPointer()),
                                         characters.GetSize());
}

QZString* QZUniqueCode::GetCode(QZInt64 length, QZInt64 salt)
{
    const QZUInt64 factor = static_cast<QZUInt64>(salt);
    Append(static_cast<QZInt64>(factor * factor));
    return GetCode(length);
}

void QZUniqueCode::GetCode(char* buffer, QZInt64 length)
{
    QZData characters;
    Mix(length, QZ_W("GetCode"), &characters);
    QZMemCopy(buffer, characters.GetPointer(), characters.GetSize());
}

void QZUniqueCode::Recycle(QZString** text) { QZStringFactory::Recycle(text); }
