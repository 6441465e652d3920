#include "fw/internal/fw_text_builder.h"

#include <algorithm>

#include "fw/fw_encoding.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_trace.h"

TextBuilder::~TextBuilder()
{
    if (m_units != m_inline) MemoryFree(m_units);
}

void TextBuilder::Grow(QZInt64 count)
{
    const QZInt64 capacity = std::max(m_capacity * 2, m_count + count);
    void* units = m_units == m_inline ? MemoryAllocate(capacity * 2) : MemoryResize(m_units, capacity * 2);
    if (units == nullptr)
        throw QZTrace(QZExceptionFactory::CreateException(QZLastErrorOr(QZExceptionCode::OutOfMemory)),
                      m_className, m_method)
            .Exception();
    if (m_units == m_inline) QZMemCopy(units, m_inline, m_count * 2);
    m_units = static_cast<QZWChar*>(units);
    m_capacity = capacity;
}

QZString* TextBuilder::ToString() const { return QZStringFactory::CreateString(m_units, m_count * 2); }

QZInt64 TextBuilder::Utf8Size() const
{
    return QZEncoding::Convert(QZEncodingType::UTF16LE, m_units, m_count * 2, QZEncodingType::UTF8, nullptr,
                               0);
}

void TextBuilder::WriteUtf8(void* bytes, QZInt64 size) const
{
    QZEncoding::Convert(QZEncodingType::UTF16LE, m_units, m_count * 2, QZEncodingType::UTF8, bytes, size);
}
