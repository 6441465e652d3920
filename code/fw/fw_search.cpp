#include "fw/fw_search.h"

#include "fw/internal/fw_data_find.h"
#include "sys/sys_bytes.h"

const QZInt64 QZSearch::Type;

QZSearch::QZSearch(const void* data, QZInt64 dataSize, const void* pattern, QZInt64 patternSize)
    : m_data(data), m_dataSize(dataSize), m_pattern(pattern), m_patternSize(patternSize)
{}

QZInt64 QZSearch::GetType() { return Type; }

QZInt64 QZSearch::New()
{
    m_position = New(m_data, m_dataSize, m_pattern, m_patternSize);
    return m_position;
}

QZInt64 QZSearch::Continue()
{
    const QZInt64 start = m_position + m_patternSize;
    const void* rest = m_data != nullptr && start >= 0 && start <= m_dataSize ? QZAt(m_data, start) : m_data;
    const QZInt64 found = start >= 0 ? QZBytesFind(rest, m_dataSize - start, m_pattern, m_patternSize) : -1;
    m_position = found < 0 ? -1 : start + found;
    return m_position;
}

QZInt64 QZSearch::New(const void* data, QZInt64 dataSize, const void* pattern, QZInt64 patternSize)
{
    return QZBytesFind(data, dataSize, pattern, patternSize);
}
