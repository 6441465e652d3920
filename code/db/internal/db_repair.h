#ifndef QZLIB_DB_DB_REPAIR_H
#define QZLIB_DB_DB_REPAIR_H

#include "fw/fw_object.h"

class OBJECTS;

/// Tells by the file alone what lies at an address and whether the links around it hold.
///
/// Nothing here writes, raises or records by itself: damage is found and named, mending is the caller's
/// decision. A check is local: it looks at the record and its direct neighbours. The component belongs to its
/// container and runs under the database lock of whoever calls.
class QZ_API REPAIR : public QZObject
{
public:
    explicit REPAIR(OBJECTS* objects);
    ~REPAIR() override;

    /// True when 9 <= address <= the file length field.
    bool InRange(QZInt64 address);

    /// True when the framed bytes at the slot are sound as first written: the length stands at both ends. A
    /// replaced pointer is not followed.
    bool CheckFrame(QZInt64 slot);

    /// What lies at the address: one of the type codes of QZDatabaseInfo, UNKNOWN for none.
    /// @param side  which end of the record the address names, ADDRESS_MARK_THIS or ADDRESS_MARK_END
    QZInt64 TypeOf(QZInt64 side, QZInt64 address);

    /// The checks by kind: NORMAL, or the code of the first fault. CheckLD keeps no bound on its walks.
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
    bool FitsBefore(QZInt64 lengthPosition, QZInt64 frame, QZInt64 end);
    bool BytesSound(QZInt64 begin, QZInt64 end, QZInt64 slotFields);
    bool PreviousSound(QZInt64 previous);
    bool ContentSound(QZInt64 begin, QZInt64 slotFields, QZInt64 plainFields);
    bool StillListed(QZInt64 ld);
    QZInt64 CheckFields(QZInt64 list);
    QZInt64 CheckBackReferences(QZInt64 list, QZInt64 headError, QZInt64 recordError);

    OBJECTS* m_objects;
};

#endif
