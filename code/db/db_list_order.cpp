#include "db/internal/db_list_order.h"

#include <exception>

#include "db/internal/db_layout.h"

namespace
{
/// So many records of a list are remembered: 8 megabytes.
constexpr std::size_t kMost = std::size_t{1} << 20;

constexpr std::size_t kBits = 64;
}  // namespace

/// The number of the 16 bytes that hold a position, from the head on; a very large one before the head.
/// Records start where 16 bytes start, so no two of them share some.
std::size_t QZDbListOrder::Unit(QZInt64 position) const
{
    const QZUInt64 head = (static_cast<QZUInt64>(m_head) + 1) / layout::kAlignment;
    return static_cast<std::size_t>((static_cast<QZUInt64>(position) + 1) / layout::kAlignment - head);
}

void QZDbListOrder::Start(QZInt64 head, QZInt64 a)
{
    m_head = head;
    m_size = layout::RdEnd(0, a) + 1;
    m_records.clear();
    m_marked.clear();
}

bool QZDbListOrder::Add(QZInt64 record)
{
    if (record <= m_head || layout::NewRecord(record - 1) != record || !MakeRoom(record)) return false;
    if (!m_records.empty())
    {
        const QZInt64 last = m_records.back();
        Mark(last, true);
        if (IsMarked(record, m_size))
        {
            Mark(last, false);
            return false;
        }
    }
    m_records.push_back(record);
    return true;
}

/// Without memory for one record more the list is remembered no further.
bool QZDbListOrder::MakeRoom(QZInt64 record)
{
    if (m_records.size() >= kMost) return false;
    try
    {
        if (m_records.size() == m_records.capacity()) m_records.reserve(m_records.size() * 2 + 64);
        const std::size_t words = Unit(record + m_size - 1) / kBits + 1;
        if (words > m_marked.size()) m_marked.resize(words, 0);
    }
    catch (const std::exception&)
    {
        return false;
    }
    return true;
}

QZInt64 QZDbListOrder::PlaceOf(QZInt64 record) const
{
    if (m_records.empty() || record <= m_head) return 0;
    if (record != m_records.back() && !IsMarked(record, 1)) return 0;
    for (std::size_t i = m_records.size(); i > 0; --i)
        if (m_records[i - 1] == record) return static_cast<QZInt64>(i);
    return 0;
}

bool QZDbListOrder::IsMarked(QZInt64 position, QZInt64 length) const
{
    const std::size_t bits = m_marked.size() * kBits;
    const QZInt64 from = position < m_head ? m_head : position;
    const QZInt64 to = position + length - 1;
    if (to < from) return false;
    const std::size_t last = Unit(to);
    for (std::size_t unit = Unit(from); unit <= last && unit < bits; ++unit)
        if ((m_marked[unit / kBits] >> (unit % kBits) & 1) != 0) return true;
    return false;
}

void QZDbListOrder::Mark(QZInt64 record, bool on)
{
    const std::size_t last = Unit(record + m_size - 1);
    for (std::size_t unit = Unit(record); unit <= last; ++unit)
    {
        const QZUInt64 bit = QZUInt64{1} << (unit % kBits);
        if (on)
            m_marked[unit / kBits] |= bit;
        else
            m_marked[unit / kBits] &= ~bit;
    }
}

void QZDbListOrder::TakeOff(QZInt64 position, QZInt64 length)
{
    if (length <= 0) return;
    if (position < 0)
    {
        // No file has this place. Whatever the buffer makes of it, nothing is kept.
        m_records.clear();
        m_marked.clear();
        return;
    }
    while (m_records.size() > 1 && IsMarked(position, length))
    {
        m_records.pop_back();
        Mark(m_records.back(), false);
    }
}
