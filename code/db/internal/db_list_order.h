#ifndef QZLIB_DB_LIST_ORDER_H
#define QZLIB_DB_LIST_ORDER_H

#include <cstddef>
#include <vector>

#include "sys/sys_types.h"

/// The beginning of one list of the log, record by record, as its links lead there from the head. With it the
/// place of a record near the end is found without a walk.
///
/// It stays correct because BINARY calls Touch before every write: a write into a record that has a successor
/// removes all records after it from this list. The last record has none yet, so appending removes nothing.
class QZDbListOrder
{
public:
    /// Forgets everything; the list of `head`, with addresses of `a` bytes, comes next. 0 for none.
    void Start(QZInt64 head, QZInt64 a);

    QZInt64 Head() const { return m_head; }
    QZInt64 Count() const { return static_cast<QZInt64>(m_records.size()); }
    QZInt64 First() const { return m_records.front(); }
    QZInt64 Last() const { return m_records.back(); }

    /// Adds the record that the last one leads to, which lies in the file. False, and nothing changes, where
    /// no record can start and for one that is in the list already.
    bool Add(QZInt64 record);

    /// The place of a record, the first being 1; 0 when it is not among those that were added. The cost grows
    /// with the distance from the last one.
    QZInt64 PlaceOf(QZInt64 record) const;

    /// Called before each write to the file.
    void Touch(QZInt64 position, QZInt64 length)
    {
        if (m_records.size() > 1) TakeOff(position, length);
    }

private:
    std::size_t Unit(QZInt64 position) const;
    bool MakeRoom(QZInt64 record);
    bool IsMarked(QZInt64 position, QZInt64 length) const;
    void Mark(QZInt64 record, bool on);
    void TakeOff(QZInt64 position, QZInt64 length);

    QZInt64 m_head = 0;
    /// The bytes of a log record up to its closing mark.
    QZInt64 m_size = 0;
    std::vector<QZInt64> m_records;
    /// A bit for each 16 bytes of the file, from the head on: whether they belong to a record that leads to
    /// another one.
    std::vector<QZUInt64> m_marked;
};

#endif
