#include "db/internal/db_repair.h"

#include "db/db_format.h"
#include "db/internal/db_address.h"
#include "db/internal/db_binary.h"
#include "db/internal/db_console.h"
#include "db/internal/db_read.h"

namespace
{
/// The smallest position of a main HD in any version of the format.
const QZInt64 FirstAddress = 9;

const QZInt64 This = QZDatabaseInfo::ADDRESS_MARK_THIS;
const QZInt64 End = QZDatabaseInfo::ADDRESS_MARK_END;
const QZInt64 Unknown = QZDatabaseInfo::UNKNOWN;
const QZInt64 Normal = QZDatabaseInfo::NORMAL;

/// What CheckAD answers for a broken previous link; callers compare with this bare value.
const QZInt64 AdPreviousFault = 2;
}  // namespace

REPAIR::REPAIR(OBJECTS* objects) : m_objects(objects) {}

REPAIR::~REPAIR() = default;

bool REPAIR::InRange(QZInt64 address)
{
    return address >= FirstAddress && address <= m_objects->Address()->Get(QZDatabaseInfo::DBL_POSITION_V5);
}

bool REPAIR::CheckFrame(QZInt64 slot)
{
    if (!InRange(slot)) return false;
    ADDRESS* address = m_objects->Address();
    const QZInt64 a = address->Length();
    const QZInt64 length = address->Get(QZDbAt(slot, a));
    const QZInt64 trailing = QZDbAt(QZDbAt(slot, 2 * a), length);
    return InRange(trailing) && address->Get(trailing) == length;
}

QZInt64 REPAIR::TypeOf(QZInt64 side, QZInt64 address)
{
    const QZByte mark = m_objects->Binary()->GetByte(address);
    if (mark == QZDatabaseInfo::MARK_DATA) return TypeOfData(side, address);
    if (mark == QZDatabaseInfo::MARK_HD) return TypeOfHead(side, address);
    return Unknown;
}

QZInt64 REPAIR::TypeOfData(QZInt64 side, QZInt64 address)
{
    // Nothing is written meanwhile, so the length field is read once.
    const QZInt64 length = m_objects->Console()->GetLength();
    const auto marked = [this, length](QZInt64 position, QZByte mark) {
        return position >= FirstAddress && position <= length && HasMark(position, mark);
    };
    if (address < FirstAddress || address > length) return Unknown;
    READ* read = m_objects->Read();
    const QZInt64 begin = read->ReadData(side, address, QZDatabaseInfo::DATA_THIS);
    if (!marked(begin, QZDatabaseInfo::MARK_DATA)) return Unknown;
    const QZInt64 end = read->ReadData(side, address, QZDatabaseInfo::DATA_END);
    if (!marked(end, QZDatabaseInfo::MARK_DATA) || end < begin) return Unknown;

    // Kinds without content are told by their length, which no record with content can have.
    const QZInt64 a = m_objects->Address()->Length();
    if (end == QZDbAt(begin, 9 * a + 1)) return QZDatabaseInfo::DATA_LD;
    if (end - begin == 6 * a + 1) return QZDatabaseInfo::DATA_AD;
    if (end - begin == 8 * a + 1) return QZDatabaseInfo::DATA_RD;

    // PD before CD: a PD that has no LD yet reads as a CD, and callers count on that.
    const QZInt64 ld = m_objects->Address()->Get(QZDbAt(begin, 3 * a + 1));
    const QZInt64 hd = m_objects->Address()->Get(QZDbAt(begin, 4 * a + 1));
    if (marked(ld, QZDatabaseInfo::MARK_DATA) && (hd == 0 || marked(hd, QZDatabaseInfo::MARK_HD)) &&
        BytesSound(begin, end, 5))
    {
        return QZDatabaseInfo::DATA_PD;
    }
    if (BytesSound(begin, end, 3)) return QZDatabaseInfo::DATA_CD;
    if (marked(read->ReadLD(This, begin, QZDatabaseInfo::LD_TREE_A), QZDatabaseInfo::MARK_HD) &&
        marked(read->ReadLD(This, begin, QZDatabaseInfo::LD_TREE_R), QZDatabaseInfo::MARK_HD) &&
        marked(read->ReadLD(This, begin, QZDatabaseInfo::LD_TREE_S), QZDatabaseInfo::MARK_HD))
    {
        return QZDatabaseInfo::DATA_LD;
    }
    return QZDatabaseInfo::DATA_UNKNOWN;
}

QZInt64 REPAIR::TypeOfHead(QZInt64 side, QZInt64 address)
{
    if (!InRange(address)) return Unknown;
    READ* read = m_objects->Read();
    const QZInt64 begin = read->ReadHD(side, address, QZDatabaseInfo::HD_THIS);
    if (!InRange(begin)) return Unknown;
    const QZInt64 end = read->ReadHD(This, begin, QZDatabaseInfo::HD_END);
    if (!IsMarked(end, QZDatabaseInfo::MARK_HD)) return Unknown;
    const QZInt64 again = read->ReadHD(End, end, QZDatabaseInfo::HD_THIS);
    return IsMarked(again, QZDatabaseInfo::MARK_HD) ? QZDatabaseInfo::TABLE_HD : Unknown;
}

bool REPAIR::HasMark(QZInt64 address, QZByte mark) { return m_objects->Binary()->GetByte(address) == mark; }

bool REPAIR::IsMarked(QZInt64 address, QZByte mark) { return InRange(address) && HasMark(address, mark); }

bool REPAIR::IsKnown(QZInt64 address) { return InRange(address) && TypeOf(This, address) != Unknown; }

/// True when a content length leaves room: length + frame does not exceed the record's closing position. A
/// length is compared with a position here, and files are judged by exactly this.
bool REPAIR::FitsBefore(QZInt64 lengthPosition, QZInt64 frame, QZInt64 end)
{
    return m_objects->Address()->Get(lengthPosition) <= end - (frame - 2 * m_objects->Address()->Length());
}

/// The framed bytes behind `slotFields` addresses: 5 for a PD, 3 for a CD.
bool REPAIR::BytesSound(QZInt64 begin, QZInt64 end, QZInt64 slotFields)
{
    const QZInt64 a = m_objects->Address()->Length();
    const QZInt64 slot = QZDbAt(begin, slotFields * a + 1);
    if (m_objects->Console()->AddressInfo()->Version == QZDatabaseInfo::DBV_CODE_V9) return CheckFrame(slot);
    return FitsBefore(QZDbAt(slot, a), (slotFields + 2) * a + 1, end);
}

QZInt64 REPAIR::CheckAD(QZInt64 side, QZInt64 address)
{
    if (TypeOf(side, address) != QZDatabaseInfo::DATA_AD) return QZDatabaseInfo::FRAME_ERROR;
    READ* read = m_objects->Read();
    const QZInt64 previous = read->ReadAD(side, address, QZDatabaseInfo::AD_PREV);
    if (!HasMark(previous, QZDatabaseInfo::MARK_HD) && TypeOf(End, previous) == Unknown)
        return AdPreviousFault;
    const QZInt64 next = read->ReadAD(side, address, QZDatabaseInfo::AD_NEXT);
    if (next != 0 && TypeOf(This, next) == Unknown) return QZDatabaseInfo::NEXT_ERROR;
    return Normal;
}

QZInt64 REPAIR::CheckCD(QZInt64 side, QZInt64 address)
{
    if (TypeOf(side, address) != QZDatabaseInfo::DATA_CD) return QZDatabaseInfo::FRAME_ERROR;
    READ* read = m_objects->Read();
    const QZInt64 previous = read->ReadData(side, address, QZDatabaseInfo::DATA_PREV);
    if (!HasMark(previous, QZDatabaseInfo::MARK_HD) && TypeOf(End, previous) == Unknown)
    {
        return QZDatabaseInfo::PREV_ERROR;
    }
    const QZInt64 next = read->ReadData(side, address, QZDatabaseInfo::DATA_NEXT);
    if (next != 0 && TypeOf(This, next) == Unknown) return QZDatabaseInfo::NEXT_ERROR;

    const QZInt64 a = m_objects->Address()->Length();
    const QZInt64 begin = read->ReadData(side, address, QZDatabaseInfo::DATA_THIS);
    const QZInt64 end = read->ReadData(side, address, QZDatabaseInfo::DATA_END);
    if (!FitsBefore(QZDbAt(begin, 4 * a + 1), 5 * a + 1, end)) return QZDatabaseInfo::CHAR_ERROR;
    // Content as first written stands one address before the place tested first, so the record is then found
    // as the holder of its own content.
    return ContentSound(begin, 3, 6) ? Normal : QZDatabaseInfo::CHAR_ERROR;
}

/// The content pointer leads to the record's own bytes or into a CD.
bool REPAIR::ContentSound(QZInt64 begin, QZInt64 slotFields, QZInt64 plainFields)
{
    const QZInt64 a = m_objects->Address()->Length();
    const QZInt64 content = m_objects->Address()->Get(QZDbAt(begin, slotFields * a + 1));
    if (content == QZDbAt(begin, plainFields * a + 1)) return true;
    return TypeOf(This, QZDbAt(content, -5 * a - 1)) == QZDatabaseInfo::DATA_CD;
}

QZInt64 REPAIR::CheckPD(QZInt64 side, QZInt64 address)
{
    if (TypeOf(side, address) == Unknown) return QZDatabaseInfo::FRAME_ERROR;
    READ* read = m_objects->Read();
    if (!PreviousSound(read->ReadPD(side, address, QZDatabaseInfo::PD_PREV)))
        return QZDatabaseInfo::PREV_ERROR;

    const QZInt64 begin = read->ReadData(side, address, QZDatabaseInfo::DATA_THIS);
    const QZInt64 end = read->ReadData(side, address, QZDatabaseInfo::DATA_END);
    if (!BytesSound(begin, end, 5)) return QZDatabaseInfo::CHAR_ERROR;

    const QZInt64 ld = read->ReadPD(side, address, QZDatabaseInfo::PD_LD_A);
    if (!IsKnown(ld)) return QZDatabaseInfo::PD_LD_ERROR;
    if (!StillListed(ld)) return QZDatabaseInfo::PD_LD_DELETED;

    const QZInt64 hd = read->ReadPD(side, address, QZDatabaseInfo::PD_HD_A);
    if (hd != 0 && !IsKnown(hd)) return QZDatabaseInfo::PD_HD_ERROR;
    const QZInt64 next = read->ReadPD(side, address, QZDatabaseInfo::PD_NEXT);
    if (next != 0 && !IsKnown(next)) return QZDatabaseInfo::NEXT_ERROR;
    return ContentSound(begin, 5, 7) ? Normal : QZDatabaseInfo::CHAR_ERROR;
}

/// A previous link names the END of a record or the THIS of an HD.
bool REPAIR::PreviousSound(QZInt64 previous)
{
    if (!InRange(previous)) return false;
    if (HasMark(previous, QZDatabaseInfo::MARK_DATA)) return TypeOf(End, previous) != Unknown;
    if (HasMark(previous, QZDatabaseInfo::MARK_HD)) return TypeOf(This, previous) != Unknown;
    return false;
}

/// True when what stands before the LD still names it as its successor.
bool REPAIR::StillListed(QZInt64 ld)
{
    READ* read = m_objects->Read();
    const QZInt64 previous = read->ReadLD(This, ld, QZDatabaseInfo::LD_PREV);
    if (HasMark(previous, QZDatabaseInfo::MARK_HD))
    {
        return read->ReadHD(This, previous, QZDatabaseInfo::HD_FIRSTDATA) == ld;
    }
    return read->ReadLD(End, previous, QZDatabaseInfo::LD_NEXT) == ld;
}

QZInt64 REPAIR::CheckLD(QZInt64 side, QZInt64 address)
{
    if (!InRange(address) || TypeOf(side, address) == Unknown) return QZDatabaseInfo::FRAME_ERROR;
    READ* read = m_objects->Read();
    if (!PreviousSound(read->ReadLD(side, address, QZDatabaseInfo::LD_PREV)))
        return QZDatabaseInfo::PREV_ERROR;

    QZInt64 fault = CheckFields(read->ReadLD(side, address, QZDatabaseInfo::LD_LDS));
    if (fault != Normal) return fault;
    fault = CheckBackReferences(read->ReadLD(side, address, QZDatabaseInfo::LD_TREE_A),
                                QZDatabaseInfo::TREEA_ERROR, QZDatabaseInfo::TREEA_ERROR);
    if (fault != Normal) return fault;
    // A bad record in the list of tree R is told as one of tree A; callers know both codes for it.
    fault = CheckBackReferences(read->ReadLD(side, address, QZDatabaseInfo::LD_TREE_R),
                                QZDatabaseInfo::TREER_ERROR, QZDatabaseInfo::TREEA_ERROR);
    if (fault != Normal) return fault;
    fault = CheckBackReferences(read->ReadLD(side, address, QZDatabaseInfo::LD_TREE_S),
                                QZDatabaseInfo::TREES_ERROR, QZDatabaseInfo::TREES_ERROR);
    if (fault != Normal) return fault;

    const QZInt64 next = read->ReadLD(side, address, QZDatabaseInfo::LD_NEXT);
    return next != 0 && !IsKnown(next) ? QZDatabaseInfo::NEXT_ERROR : Normal;
}

QZInt64 REPAIR::CheckFields(QZInt64 list)
{
    if (!IsKnown(list)) return QZDatabaseInfo::LDS_ERROR;
    READ* read = m_objects->Read();
    QZInt64 record = read->ReadHD(This, list, QZDatabaseInfo::HD_FIRSTDATA);
    while (record != 0)
    {
        if (CheckCD(This, record) != Normal) return QZDatabaseInfo::LDS_ERROR;
        record = read->ReadData(This, record, QZDatabaseInfo::DATA_NEXT);
    }
    return Normal;
}

QZInt64 REPAIR::CheckBackReferences(QZInt64 list, QZInt64 headError, QZInt64 recordError)
{
    if (!IsKnown(list)) return headError;
    READ* read = m_objects->Read();
    QZInt64 record = read->ReadHD(This, list, QZDatabaseInfo::HD_FIRSTDATA);
    while (record != 0)
    {
        // Only a record that names a PD counts as a fault, so one that is damaged beyond that passes.
        if (CheckAD(This, record) != Normal &&
            TypeOf(This, read->ReadAD(This, record, QZDatabaseInfo::AD_FREE)) == QZDatabaseInfo::DATA_PD)
        {
            return recordError;
        }
        record = read->ReadAD(This, record, QZDatabaseInfo::AD_NEXT);
    }
    return Normal;
}

QZInt64 REPAIR::CheckHD(QZInt64 side, QZInt64 address)
{
    if (TypeOf(side, address) == Unknown) return Unknown;
    const QZInt64 first = m_objects->Read()->ReadHD(side, address, QZDatabaseInfo::HD_FIRSTDATA);
    return first == 0 || TypeOf(This, first) != Unknown ? Normal : Unknown;
}
