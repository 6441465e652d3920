#include "db/internal/db_repair.h"

using layout::kSideEnd;
using layout::kSideThis;

namespace
{
constexpr QZInt64 kUnknown = QZDatabaseInfo::UNKNOWN;
constexpr QZInt64 kNormal = QZDatabaseInfo::NORMAL;

/// The result of CheckAD for a broken previous link. The other kinds return PREV_ERROR.
constexpr QZInt64 kAdPreviousFault = 2;
}  // namespace

REPAIR::~REPAIR() = default;

bool REPAIR::InRange(QZInt64 address)
{
    return address >= layout::kFirstRecord && address <= m_address->FileLength();
}

bool REPAIR::CheckFrame(QZInt64 slot)
{
    if (!InRange(slot)) return false;
    const QZInt64 a = m_address->Length();
    const QZInt64 length = m_address->Get(layout::SlotLength(slot, a));
    const QZInt64 trailing = layout::TrailingLength(layout::SlotContent(slot, a), length);
    return InRange(trailing) && m_address->Get(trailing) == length;
}

QZInt64 REPAIR::TypeOf(QZInt64 side, QZInt64 address)
{
    const QZByte mark = m_binary->GetByte(address);
    if (mark == layout::kMarkData) return TypeOfData(side, address);
    if (mark == layout::kMarkHd) return TypeOfHead(side, address);
    return kUnknown;
}

QZInt64 REPAIR::TypeOfData(QZInt64 side, QZInt64 address)
{
    // Nothing is written in between, so the length field is read once.
    const QZInt64 length = m_address->FileLength();
    const auto marked = [this, length](QZInt64 position, QZByte mark) {
        return position >= layout::kFirstRecord && position <= length && HasMark(position, mark);
    };
    if (address < layout::kFirstRecord || address > length) return kUnknown;
    const QZInt64 begin = m_read->ReadData(side, address, QZDatabaseInfo::DATA_THIS);
    if (!marked(begin, layout::kMarkData)) return kUnknown;
    const QZInt64 end = m_read->ReadData(side, address, QZDatabaseInfo::DATA_END);
    if (!marked(end, layout::kMarkData) || end < begin) return kUnknown;

    // Kinds without content are recognised by their length, which no record with content can have.
    const QZInt64 a = m_address->Length();
    if (end == layout::LdEnd(begin, a)) return QZDatabaseInfo::DATA_LD;
    if (end == layout::AdEnd(begin, a)) return QZDatabaseInfo::DATA_AD;
    if (end == layout::RdEnd(begin, a)) return QZDatabaseInfo::DATA_RD;

    // PD before CD: a PD without an LD is taken for a CD, as docs/database-file.md says.
    const QZInt64 ld = m_address->Get(layout::DataOwn(begin, layout::kPdLd, a));
    const QZInt64 hd = m_address->Get(layout::DataOwn(begin, layout::kPdHd, a));
    if (marked(ld, layout::kMarkData) && (hd == 0 || marked(hd, layout::kMarkHd)) &&
        BytesSound(begin, end, layout::PdSlot(0, a)))
    {
        return QZDatabaseInfo::DATA_PD;
    }
    if (BytesSound(begin, end, layout::CdSlot(0, a))) return QZDatabaseInfo::DATA_CD;
    if (marked(m_read->ReadLD(kSideThis, begin, QZDatabaseInfo::LD_TREE_A), layout::kMarkHd) &&
        marked(m_read->ReadLD(kSideThis, begin, QZDatabaseInfo::LD_TREE_R), layout::kMarkHd) &&
        marked(m_read->ReadLD(kSideThis, begin, QZDatabaseInfo::LD_TREE_S), layout::kMarkHd))
    {
        return QZDatabaseInfo::DATA_LD;
    }
    return QZDatabaseInfo::DATA_UNKNOWN;
}

QZInt64 REPAIR::TypeOfHead(QZInt64 side, QZInt64 address)
{
    if (!InRange(address)) return kUnknown;
    const QZInt64 begin = m_read->ReadHD(side, address, QZDatabaseInfo::HD_THIS);
    if (!InRange(begin)) return kUnknown;
    const QZInt64 end = m_read->ReadHD(kSideThis, begin, QZDatabaseInfo::HD_END);
    if (!IsMarked(end, layout::kMarkHd)) return kUnknown;
    const QZInt64 again = m_read->ReadHD(kSideEnd, end, QZDatabaseInfo::HD_THIS);
    return IsMarked(again, layout::kMarkHd) ? QZDatabaseInfo::TABLE_HD : kUnknown;
}

bool REPAIR::HasMark(QZInt64 address, QZByte mark) { return m_binary->GetByte(address) == mark; }

bool REPAIR::IsMarked(QZInt64 address, QZByte mark) { return InRange(address) && HasMark(address, mark); }

bool REPAIR::IsKnown(QZInt64 address) { return InRange(address) && TypeOf(kSideThis, address) != kUnknown; }

/// True when the length in the slot is at most END less the offset of the slot in the record. This compares a
/// length with a position, so it is a weak test, but it is the test that decides the kind.
bool REPAIR::FitsBefore(QZInt64 slot, QZInt64 slotOffset, QZInt64 end)
{
    return m_address->Get(layout::SlotLength(slot, m_address->Length())) <= layout::At(end, -slotOffset);
}

/// Tests the framed bytes of the record from `begin` to `end`.
bool REPAIR::BytesSound(QZInt64 begin, QZInt64 end, QZInt64 slotOffset)
{
    const QZInt64 slot = layout::At(begin, slotOffset);
    if (m_file->AddressInfo()->Version == QZDatabaseInfo::DBV_CODE_V9) return CheckFrame(slot);
    return FitsBefore(slot, slotOffset, end);
}

QZInt64 REPAIR::CheckAD(QZInt64 side, QZInt64 address)
{
    if (TypeOf(side, address) != QZDatabaseInfo::DATA_AD) return QZDatabaseInfo::FRAME_ERROR;
    const QZInt64 previous = m_read->ReadAD(side, address, QZDatabaseInfo::AD_PREV);
    if (!HasMark(previous, layout::kMarkHd) && TypeOf(kSideEnd, previous) == kUnknown)
        return kAdPreviousFault;
    const QZInt64 next = m_read->ReadAD(side, address, QZDatabaseInfo::AD_NEXT);
    if (next != 0 && TypeOf(kSideThis, next) == kUnknown) return QZDatabaseInfo::NEXT_ERROR;
    return kNormal;
}

QZInt64 REPAIR::CheckCD(QZInt64 side, QZInt64 address)
{
    if (TypeOf(side, address) != QZDatabaseInfo::DATA_CD) return QZDatabaseInfo::FRAME_ERROR;
    const QZInt64 previous = m_read->ReadData(side, address, QZDatabaseInfo::DATA_PREV);
    if (!HasMark(previous, layout::kMarkHd) && TypeOf(kSideEnd, previous) == kUnknown)
    {
        return QZDatabaseInfo::PREV_ERROR;
    }
    const QZInt64 next = m_read->ReadData(side, address, QZDatabaseInfo::DATA_NEXT);
    if (next != 0 && TypeOf(kSideThis, next) == kUnknown) return QZDatabaseInfo::NEXT_ERROR;

    const QZInt64 a = m_address->Length();
    const QZInt64 begin = m_read->ReadData(side, address, QZDatabaseInfo::DATA_THIS);
    const QZInt64 end = m_read->ReadData(side, address, QZDatabaseInfo::DATA_END);
    if (!FitsBefore(layout::CdSlot(begin, a), layout::CdSlot(0, a), end)) return QZDatabaseInfo::CHAR_ERROR;
    // The tested position is one address after the record's own content. So that content is found by the
    // second test, which recognises the record as the CD that holds it.
    return ContentSound(begin, layout::CdSlot(0, a), layout::At(layout::CdContent(0, a), a))
               ? kNormal
               : QZDatabaseInfo::CHAR_ERROR;
}

/// True when the content pointer is the position in the record itself or leads into a CD.
bool REPAIR::ContentSound(QZInt64 begin, QZInt64 slotOffset, QZInt64 contentOffset)
{
    const QZInt64 content = m_address->Get(layout::At(begin, slotOffset));
    if (content == layout::At(begin, contentOffset)) return true;
    return TypeOf(kSideThis, layout::CdOfContent(content, m_address->Length())) == QZDatabaseInfo::DATA_CD;
}

QZInt64 REPAIR::CheckPD(QZInt64 side, QZInt64 address)
{
    if (TypeOf(side, address) == kUnknown) return QZDatabaseInfo::FRAME_ERROR;
    if (!PreviousSound(m_read->ReadPD(side, address, QZDatabaseInfo::PD_PREV)))
        return QZDatabaseInfo::PREV_ERROR;

    const QZInt64 begin = m_read->ReadData(side, address, QZDatabaseInfo::DATA_THIS);
    const QZInt64 end = m_read->ReadData(side, address, QZDatabaseInfo::DATA_END);
    const QZInt64 slot = layout::PdSlot(0, m_address->Length());
    if (!BytesSound(begin, end, slot)) return QZDatabaseInfo::CHAR_ERROR;

    const QZInt64 ld = m_read->ReadPD(side, address, QZDatabaseInfo::PD_LD_A);
    if (!IsKnown(ld)) return QZDatabaseInfo::PD_LD_ERROR;
    if (!StillListed(ld)) return QZDatabaseInfo::PD_LD_DELETED;

    const QZInt64 hd = m_read->ReadPD(side, address, QZDatabaseInfo::PD_HD_A);
    if (hd != 0 && !IsKnown(hd)) return QZDatabaseInfo::PD_HD_ERROR;
    const QZInt64 next = m_read->ReadPD(side, address, QZDatabaseInfo::PD_NEXT);
    if (next != 0 && !IsKnown(next)) return QZDatabaseInfo::NEXT_ERROR;
    return ContentSound(begin, slot, layout::SlotContent(slot, m_address->Length()))
               ? kNormal
               : QZDatabaseInfo::CHAR_ERROR;
}

/// True for a previous link that names the END of a record or the THIS of an HD.
bool REPAIR::PreviousSound(QZInt64 previous)
{
    if (!InRange(previous)) return false;
    if (HasMark(previous, layout::kMarkData)) return TypeOf(kSideEnd, previous) != kUnknown;
    if (HasMark(previous, layout::kMarkHd)) return TypeOf(kSideThis, previous) != kUnknown;
    return false;
}

/// True when the record or HD before the LD still refers to it as the next record.
bool REPAIR::StillListed(QZInt64 ld)
{
    const QZInt64 previous = m_read->ReadLD(kSideThis, ld, QZDatabaseInfo::LD_PREV);
    if (HasMark(previous, layout::kMarkHd))
    {
        return m_read->ReadHD(kSideThis, previous, QZDatabaseInfo::HD_FIRSTDATA) == ld;
    }
    return m_read->ReadLD(kSideEnd, previous, QZDatabaseInfo::LD_NEXT) == ld;
}

QZInt64 REPAIR::CheckLD(QZInt64 side, QZInt64 address)
{
    if (!InRange(address) || TypeOf(side, address) == kUnknown) return QZDatabaseInfo::FRAME_ERROR;
    if (!PreviousSound(m_read->ReadLD(side, address, QZDatabaseInfo::LD_PREV)))
        return QZDatabaseInfo::PREV_ERROR;

    QZInt64 fault = CheckFields(m_read->ReadLD(side, address, QZDatabaseInfo::LD_LDS));
    if (fault != kNormal) return fault;
    fault = CheckBackReferences(m_read->ReadLD(side, address, QZDatabaseInfo::LD_TREE_A),
                                QZDatabaseInfo::TREEA_ERROR, QZDatabaseInfo::TREEA_ERROR);
    if (fault != kNormal) return fault;
    // A bad record in the list of tree R is reported with the code of tree A.
    fault = CheckBackReferences(m_read->ReadLD(side, address, QZDatabaseInfo::LD_TREE_R),
                                QZDatabaseInfo::TREER_ERROR, QZDatabaseInfo::TREEA_ERROR);
    if (fault != kNormal) return fault;
    fault = CheckBackReferences(m_read->ReadLD(side, address, QZDatabaseInfo::LD_TREE_S),
                                QZDatabaseInfo::TREES_ERROR, QZDatabaseInfo::TREES_ERROR);
    if (fault != kNormal) return fault;

    const QZInt64 next = m_read->ReadLD(side, address, QZDatabaseInfo::LD_NEXT);
    return next != 0 && !IsKnown(next) ? QZDatabaseInfo::NEXT_ERROR : kNormal;
}

QZInt64 REPAIR::CheckFields(QZInt64 list)
{
    if (!IsKnown(list)) return QZDatabaseInfo::LDS_ERROR;
    QZInt64 record = m_read->ReadHD(kSideThis, list, QZDatabaseInfo::HD_FIRSTDATA);
    while (record != 0)
    {
        if (CheckCD(kSideThis, record) != kNormal) return QZDatabaseInfo::LDS_ERROR;
        record = m_read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_NEXT);
    }
    return kNormal;
}

QZInt64 REPAIR::CheckBackReferences(QZInt64 list, QZInt64 headError, QZInt64 recordError)
{
    if (!IsKnown(list)) return headError;
    QZInt64 record = m_read->ReadHD(kSideThis, list, QZDatabaseInfo::HD_FIRSTDATA);
    while (record != 0)
    {
        // Only a bad record that still names a PD counts as a fault.
        if (CheckAD(kSideThis, record) != kNormal &&
            TypeOf(kSideThis, m_read->ReadAD(kSideThis, record, QZDatabaseInfo::AD_FREE)) ==
                QZDatabaseInfo::DATA_PD)
        {
            return recordError;
        }
        record = m_read->ReadAD(kSideThis, record, QZDatabaseInfo::AD_NEXT);
    }
    return kNormal;
}

QZInt64 REPAIR::CheckHD(QZInt64 side, QZInt64 address)
{
    if (TypeOf(side, address) == kUnknown) return kUnknown;
    const QZInt64 first = m_read->ReadHD(side, address, QZDatabaseInfo::HD_FIRSTDATA);
    return first == 0 || TypeOf(kSideThis, first) != kUnknown ? kNormal : kUnknown;
}
