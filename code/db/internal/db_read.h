#ifndef QZLIB_DB_READ_H
#define QZLIB_DB_READ_H

#include "db/internal/db_address.h"

class QZCollection;

/// The component that reads fields of records and walks lists.
///
/// A `side` tells which end of the record the address names: ADDRESS_MARK_THIS the opening mark,
/// ADDRESS_MARK_END the closing one. Nothing is cached: every field comes from the file buffer.
class QZ_API READ : public QZObject
{
public:
    READ(QZDbFile* file, BINARY* binary, ADDRESS* address)
        : m_file(file), m_binary(binary), m_address(address)
    {}

    /// A field of an HD. 0 with BAD_PARAMETER recorded for a bad side, 0 with the bare code 256 for a bad
    /// selector.
    QZInt64 ReadHD(QZInt64 side, QZInt64 address, QZInt64 selector);

    /// A field of the frame that all data records have; the selector's kind does not matter. -1 with
    /// BAD_PARAMETER recorded for a bad side or selector, as in the readers below.
    QZInt64 ReadData(QZInt64 side, QZInt64 address, QZInt64 selector);

    /// A field of an LD: THIS, END, PREV, NEXT, HDA and its four lists.
    QZInt64 ReadLD(QZInt64 side, QZInt64 address, QZInt64 selector);

    /// A field of a PD: the frame, PD_LD_A and PD_HD_A.
    QZInt64 ReadPD(QZInt64 side, QZInt64 address, QZInt64 selector);

    /// A field of an AD: THIS, END, PREV, NEXT, HDA and AD_FREE.
    QZInt64 ReadAD(QZInt64 side, QZInt64 address, QZInt64 selector);

    /// A field of an RD: only RD_P, RD_O and RD_N.
    QZInt64 ReadRD(QZInt64 side, QZInt64 address, QZInt64 selector);

    /// The HD whose list holds the record.
    QZInt64 HeadOf(QZInt64 record);

    /// How many records the list of an HD holds.
    QZInt64 Count(QZInt64 hd);

    /// Place of a record in its list, from 1. 0 when its list no longer holds it.
    QZInt64 Position(QZInt64 record);

    /// The n-th record in one walk, 0 past the last one; *count is then the result of Count. Unlike NthRecord
    /// it does not go round in a damaged list.
    QZInt64 NthOrCount(QZInt64 hd, QZInt64 n, QZInt64* count);

    /// A frame field of the n-th record of a list; n below 2 means the first. 0 when the list ends before.
    QZInt64 Nth(QZInt64 hd, QZInt64 n, QZInt64 selector);

    /// AD_FREE of the n-th AD in the list of the HD at `address`, 0 if there is none. The root of tree n for
    /// the main HD.
    QZInt64 TreeRoot(QZInt64 address, QZInt64 n);

    /// Number of the tree in which a PD lies, found by climbing. 0 under a free HD.
    QZInt64 TreeOf(QZInt64 pd);

    /// THIS of the next record, 0 after the last. Every walk uses it.
    QZInt64 Next(QZInt64 record);

    /// The mark byte at a position.
    QZByte Mark(QZInt64 position) { return m_binary->GetByte(position); }

private:
    bool FindEnds(QZInt64 side, QZInt64 address, QZInt64* start, QZInt64* end);
    QZInt64 Refuse();
    QZInt64 ReadOwn(QZInt64 side, QZInt64 address, QZInt64 field);
    QZInt64 NthRecord(QZInt64 hd, QZInt64 n);

    QZDbFile* m_file;
    BINARY* m_binary;
    ADDRESS* m_address;
};

/// Appends the records of the list of an HD to `output`, in list order. The walk ends in damaged files too.
void QZDbCollectRecords(READ* read, QZInt64 hd, QZCollection* output);

/// Appends the PDs below an HD to `output`, level by level.
/// @throws QZException 1024 for every list that is not empty: the walk starts at an index that the collection
/// refuses
void QZDbGatherPDs(READ* read, QZInt64 hd, QZCollection* output);

#endif
