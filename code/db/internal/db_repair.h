#ifndef QZLIB_DB_REPAIR_H
#define QZLIB_DB_REPAIR_H

#include "db/internal/db_read.h"

class OBJECTS;

/// The component that finds out what lies at an address and whether the links around it are intact. It uses
/// the file alone.
///
/// It repairs nothing and writes nothing: faults are returned as codes. A check is local: it reads the
/// record and its direct neighbours. Callers hold the database lock.
class QZ_API REPAIR : public QZObject
{
public:
    /// Takes the components that it needs from the container, which defines this constructor.
    explicit REPAIR(OBJECTS* objects);
    ~REPAIR() override;

    /// True for an address from 9 to the length field of the file.
    bool InRange(QZInt64 address);

    /// True when the framed bytes at the slot are intact as first written: both lengths are the same. The
    /// pointer is not followed.
    bool CheckFrame(QZInt64 slot);

    /// What lies at the address: one of the type codes of QZDatabaseInfo, UNKNOWN for none.
    /// @param side  which end of the record the address names, ADDRESS_MARK_THIS or ADDRESS_MARK_END
    QZInt64 TypeOf(QZInt64 side, QZInt64 address);

    /// The checks by kind: NORMAL, or the code of the first fault. CheckLD does not bound its walks.
    QZInt64 CheckAD(QZInt64 side, QZInt64 address);
    QZInt64 CheckCD(QZInt64 side, QZInt64 address);
    QZInt64 CheckLD(QZInt64 side, QZInt64 address);
    QZInt64 CheckPD(QZInt64 side, QZInt64 address);
    QZInt64 CheckHD(QZInt64 side, QZInt64 address);

private:
    QZInt64 TypeOfData(QZInt64 side, QZInt64 address);
    QZInt64 TypeOfHead(QZInt64 side, QZInt64 address);
    bool HasMark(QZInt64 address, QZByte mark);
    bool IsMarked(QZInt64 address, QZByte mark);
    bool IsKnown(QZInt64 address);
    bool FitsBefore(QZInt64 slot, QZInt64 slotOffset, QZInt64 end);
    bool BytesSound(QZInt64 begin, QZInt64 end, QZInt64 slotOffset);
    bool PreviousSound(QZInt64 previous);
    bool ContentSound(QZInt64 begin, QZInt64 slotOffset, QZInt64 contentOffset);
    bool StillListed(QZInt64 ld);
    QZInt64 CheckFields(QZInt64 list);
    QZInt64 CheckBackReferences(QZInt64 list, QZInt64 headError, QZInt64 recordError);

    QZDbFile* m_file;
    BINARY* m_binary;
    ADDRESS* m_address;
    READ* m_read;
};

#endif
