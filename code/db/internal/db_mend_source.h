#ifndef QZLIB_DB_MEND_SOURCE_H
#define QZLIB_DB_MEND_SOURCE_H

#include <memory>
#include <vector>

#include "db/internal/db_layout.h"
#include "sys/sys_types.h"

class OBJECTS;
class QZString;

/// An HD as a file holds it.
struct QZDbHeadImage
{
    QZInt64 This = 0;
    QZInt64 Owner = 0;
    QZInt64 First = 0;
    QZInt64 End = 0;
    /// Every part of the frame is as it was written.
    bool Whole = false;
};

/// A data record as a file holds it.
struct QZDbRecordImage
{
    QZInt64 This = 0;
    QZInt64 End = 0;
    QZInt64 Prev = 0;
    QZInt64 Next = 0;
    QZInt64 Head = 0;
    /// DATA_LD and so on; DATA_CD for every record with content, until the caller decides.
    QZInt64 Kind = 0;
    /// Every part of the frame is as it was written.
    bool Whole = false;
};

/// Where a content is.
struct QZDbContentPlace
{
    QZInt64 Position = 0;
    QZInt64 Length = 0;
    /// Both lengths of the frame are as they were written.
    bool Whole = true;
};

/// A database file that may be damaged, as one reads it to copy it. Nothing is written.
///
/// It uses none of the checks of the engine. A record is recognised by four signs: the mark and the address
/// at its beginning and at its end. Three of them are enough, since a record of which one sign was
/// overwritten is still that record. The two at the beginning are enough when the record's content or kind
/// shows where it ends; its link to the next record then counts as broken.
class QZDbSource
{
public:
    enum class Trust
    {
        Header,    ///< the header must be good, as for opening a database
        MainHead,  ///< a damaged header is made up for by the main HD
    };

    enum class Buffering
    {
        Shared,  ///< as a database is opened
        Plain,   ///< a file of the operation's own: no second file, whatever AtomicSync says
    };

    /// Opens the file.
    /// @throws QZIOException        it is missing or cannot be opened
    /// @throws QZDatabaseException  BAD_STRUCT: it is no database
    QZDbSource(QZString* path, Trust trust, Buffering buffering);
    ~QZDbSource();
    QZDbSource(const QZDbSource&) = delete;
    QZDbSource& operator=(const QZDbSource&) = delete;

    OBJECTS* Objects() const { return m_objects.get(); }
    QZInt64 Size() const { return m_size; }
    QZInt64 AddressLength() const { return m_length; }
    QZInt64 AddressMode() const { return m_mode; }
    /// False when the main HD made up for a damaged header.
    bool IsHeaderWhole() const { return m_headerWhole; }

    QZInt64 Get(QZInt64 position) const;
    /// Whether a record can begin at the address.
    bool IsPlace(QZInt64 address) const
    {
        return address >= layout::kMainHd && address < m_size &&
               address % layout::kAlignment == layout::kAlignment - 1;
    }

    /// Reads what begins at an address. False when it is no HD or no data record.
    bool ReadHead(QZInt64 address, QZDbHeadImage* head) const;
    bool ReadRecord(QZInt64 address, QZDbRecordImage* record) const;
    /// ReadHead, and for an HD that is lost an image of it with the first record of its list, when that one
    /// is found not far behind it.
    bool FindHead(QZInt64 address, QZDbHeadImage* head) const;
    /// The first record of a list, not far behind a place, that its neighbour in the list knows. 0 for none.
    QZInt64 FindNear(QZInt64 hd, QZInt64 place) const;
    /// The record that ends at a position, for a walk backwards.
    bool ReadRecordAtEnd(QZInt64 end, QZDbRecordImage* record) const;

    /// An own field of a record, from 0.
    QZInt64 Own(const QZDbRecordImage& record, QZInt64 n) const;

    /// Whether the frame of its content ends where the record ends, when its slot is the n-th own field.
    bool Frames(const QZDbRecordImage& record, QZInt64 n) const;

    /// Where the content of the record is, whose slot is the n-th own field. False when it cannot be read.
    bool FindContent(const QZDbRecordImage& record, QZInt64 n, QZDbContentPlace* place) const;
    void ReadContent(const QZDbContentPlace& place, std::vector<char>* bytes) const;

private:
    int ReadSigns(QZInt64 address, QZDbHeadImage* head) const;
    int ReadEnd(QZDbRecordImage* record, QZInt64 end) const;
    bool FindOtherEnd(QZDbRecordImage* record, int signs) const;
    bool FindMode(Trust trust);
    bool IsMainHead(QZInt64 mode);
    void Use(QZInt64 mode);
    bool FindLength(QZInt64 content, QZInt64 end, QZDbContentPlace* place) const;
    bool IsZero(QZInt64 position, QZInt64 length) const;
    bool EndsAt(QZInt64 content, QZInt64 length, QZInt64 end) const;

    std::unique_ptr<OBJECTS> m_objects;
    QZInt64 m_size = 0;
    QZInt64 m_length = 0;
    QZInt64 m_mode = 0;
    bool m_headerWhole = true;
};

#endif
