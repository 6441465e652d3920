#include "db/internal/db_mend_source.h"

#include "db/internal/db_console.h"
#include "db/internal/db_mend_buffer.h"
#include "db/internal/db_objects.h"
#include "db/internal/db_rollback.h"
#include "fw/fw_exception.h"
#include "fw/internal/fw_raise.h"
#include "sys/sys_bytes.h"

namespace
{
/// How many of the four signs of a record must be there.
constexpr int kSignsNeeded = 3;

/// The own field of a PD in which its slot begins.
constexpr QZInt64 kPdSlot = layout::kPdHd + 1;

/// How far behind a lost HD or record the next record of its list is looked for.
constexpr QZInt64 kNear = 65536;

/// A link that cannot be read. No record is there.
constexpr QZInt64 kNoLink = -1;

/// An address in bytes that were read.
QZInt64 AddressIn(const QZByte* bytes, QZInt64 length)
{
    QZUInt64 value = 0;
    for (QZInt64 i = length - 1; i >= 0; --i) value = value << 8 | bytes[i];
    return static_cast<QZInt64>(value);
}
}  // namespace

QZDbSource::QZDbSource(QZString* path, Trust trust, Buffering buffering) : m_objects(new OBJECTS())
{
    CONSOLE* console = m_objects->Console();
    console->Attach(buffering == Buffering::Plain ? QZDbPlainBuffer::Open(path)
                                                  : QZFileBuffer::Open(path, QZDbPlainBuffer::kMemoryLimit,
                                                                       QZDbPlainBuffer::kBlockSize));
    m_size = console->Buffer()->GetFileSize();
    if (!FindMode(trust))
        QZRaise(QZDatabaseFailure(QZDatabaseInfo::BAD_STRUCT), QZ_W("QZDatabase"), QZ_W("Repair"))
            .Argument(QZ_W("QZString*"), path)
            .Throw();
}

QZDbSource::~QZDbSource() = default;

void QZDbSource::Use(QZInt64 mode)
{
    m_mode = mode;
    m_length = layout::AddressLength(mode);
    QZAddressInfo* info = m_objects->Console()->AddressInfo();
    info->AddressMode = mode;
    info->AddressLength = m_length;
    info->LargestAddress = layout::LargestAddress(mode);
    m_objects->Initialise(mode);
}

bool QZDbSource::IsMainHead(QZInt64 mode)
{
    Use(mode);
    QZDbHeadImage head;
    return ReadHead(layout::kMainHd, &head);
}

/// Finds the address mode of a database whose main HD is where the newer versions have it.
bool QZDbSource::FindMode(Trust trust)
{
    BINARY* binary = m_objects->Binary();
    const QZInt64 version = binary->GetByte(layout::kVersion);
    const QZInt64 mode = binary->GetByte(layout::kAddressMode);
    const bool known = version == QZDatabaseInfo::DBV_CODE_V5 || version == QZDatabaseInfo::DBV_CODE_V9;
    const bool plain = mode >= QZDatabaseInfo::ADDR_MODE_32I && mode <= QZDatabaseInfo::ADDR_MODE_64;
    if (known && plain && IsMainHead(mode)) return true;
    m_headerWhole = false;
    if (trust == Trust::Header) return false;
    if (IsMainHead(QZDatabaseInfo::ADDR_MODE_64) || IsMainHead(QZDatabaseInfo::ADDR_MODE_32)) return true;
    // Without a main HD the trees are looked for at their places, with the mode that the header names.
    if (!known || !plain) return false;
    Use(mode);
    return true;
}

QZInt64 QZDbSource::Get(QZInt64 position) const
{
    if (position < 0 || position > m_size - m_length) return 0;
    return m_objects->Address()->Get(position);
}

/// Reads an HD and returns how many of its four signs are there.
int QZDbSource::ReadSigns(QZInt64 address, QZDbHeadImage* head) const
{
    const QZInt64 a = m_length;
    if (!IsPlace(address) || address > m_size - layout::HdSize(a)) return 0;
    QZByte bytes[layout::HdSize(8)];
    m_objects->Binary()->GetBytes(address, layout::HdSize(a), bytes);
    head->This = address;
    head->Owner = AddressIn(bytes + 1, a);
    head->First = AddressIn(bytes + 1 + a, a);
    head->End = AddressIn(bytes + 1 + 2 * a, a);
    const QZInt64 end = head->End;
    const bool inside = end > address && end < m_size;
    const bool marked = bytes[0] == layout::kMarkHd;
    const bool named = AddressIn(bytes + 1 + 3 * a, a) == address;
    const bool endMarked = inside && m_objects->Binary()->GetByte(end) == layout::kMarkHd;
    const bool endNamed = inside && Get(layout::HdThisFromEnd(end, a)) == address;
    head->Whole = marked && named && endMarked && endNamed;
    return marked + named + endMarked + endNamed;
}

bool QZDbSource::ReadHead(QZInt64 address, QZDbHeadImage* head) const
{
    const int signs = ReadSigns(address, head);
    if (signs >= kSignsNeeded || signs == 0) return signs != 0;
    // The first record of the list names its HD as the one before it. What it names as its list may be lost.
    QZDbRecordImage first;
    QZDbHeadImage other;
    return ReadRecord(head->First, &first) && first.Prev == address &&
           (first.Head == address || ReadSigns(first.Head, &other) < kSignsNeeded);
}

bool QZDbSource::FindHead(QZInt64 address, QZDbHeadImage* head) const
{
    if (ReadHead(address, head)) return true;
    QZDbRecordImage record;
    if (!IsPlace(address) || ReadRecord(address, &record)) return false;
    for (QZInt64 place = address; place < address + kNear; place += layout::kAlignment)
    {
        if (!ReadRecord(place, &record) || record.Prev != address || record.Head != address) continue;
        *head = QZDbHeadImage();
        head->This = address;
        head->First = place;
        return true;
    }
    return false;
}

QZInt64 QZDbSource::FindNear(QZInt64 hd, QZInt64 place) const
{
    const QZInt64 begin = layout::NewRecord(place - layout::kAlignment);
    QZDbRecordImage record;
    QZDbRecordImage other;
    for (QZInt64 at = begin; at < begin + kNear; at += layout::kAlignment)
    {
        if (!ReadRecord(at, &record) || record.Head != hd) continue;
        const bool before = ReadRecordAtEnd(record.Prev, &other) && other.Next == at;
        const bool after = ReadRecord(record.Next, &other) && other.Prev == record.End;
        if (before || after) return at;
    }
    return 0;
}

/// Reads the end of a record and returns how many of its two signs are there; -1 for an impossible end.
int QZDbSource::ReadEnd(QZDbRecordImage* record, QZInt64 end) const
{
    const QZInt64 a = m_length;
    // The shortest record is an AD, and the closing mark of the list follows the record.
    if (end < layout::AdEnd(record->This, a) || end > m_size - 1 - 2 * a) return -1;
    QZByte back[layout::HdEndFromData(0, 8) + 2 * 8 + 1];
    m_objects->Binary()->GetBytes(layout::DataThisFromEnd(end, a), 4 * a + 1, back);
    record->End = end;
    record->Next = AddressIn(back + a, a);
    record->Head = AddressIn(back + 3 * a, a);
    record->Kind = end == layout::LdEnd(record->This, a)   ? QZDatabaseInfo::DATA_LD
                   : end == layout::AdEnd(record->This, a) ? QZDatabaseInfo::DATA_AD
                   : end == layout::RdEnd(record->This, a) ? QZDatabaseInfo::DATA_RD
                                                           : QZDatabaseInfo::DATA_CD;
    return (back[2 * a] == layout::kMarkData ? 1 : 0) + (AddressIn(back, a) == record->This ? 1 : 0);
}

bool QZDbSource::ReadRecord(QZInt64 address, QZDbRecordImage* record) const
{
    const QZInt64 a = m_length;
    const QZInt64 front = layout::DataOwn(0, 0, a);
    if (!IsPlace(address) || address > m_size - front) return false;
    QZByte bytes[layout::DataOwn(0, 0, 8)];
    m_objects->Binary()->GetBytes(address, front, bytes);
    record->This = address;
    record->Prev = AddressIn(bytes + 1, a);
    const int signs =
        (bytes[0] == layout::kMarkData ? 1 : 0) + (AddressIn(bytes + 1 + a, a) == address ? 1 : 0);
    if (signs == 0) return false;
    const QZInt64 named = AddressIn(bytes + 1 + 2 * a, a);
    const int atEnd = ReadEnd(record, named);
    record->Whole = atEnd == 2 && signs == 2;
    if (atEnd >= 0 && signs + atEnd >= kSignsNeeded) return true;
    // The beginning is enough when the length of the record proves its end. The links at the end are lost.
    if (signs == 2 && atEnd >= 0 &&
        (record->Kind != QZDatabaseInfo::DATA_CD || Frames(*record, 0) || Frames(*record, kPdSlot)))
    {
        record->Next = kNoLink;
        record->Head = 0;
        return true;
    }
    return FindOtherEnd(record, signs);
}

/// Looks for the end of a record whose own field of it is damaged.
bool QZDbSource::FindOtherEnd(QZDbRecordImage* record, int signs) const
{
    const QZInt64 a = m_length;
    // A mark alone may be a byte of the content, so a kind without content needs both signs at its end.
    for (const QZInt64 end :
         {layout::LdEnd(record->This, a), layout::AdEnd(record->This, a), layout::RdEnd(record->This, a)})
        if (ReadEnd(record, end) == 2) return true;
    for (const QZInt64 n : {QZInt64{0}, kPdSlot})
    {
        const QZInt64 slot = layout::DataOwn(record->This, n, a);
        const QZInt64 content = layout::SlotContent(slot, a);
        const QZInt64 length = Get(layout::SlotLength(slot, a));
        if (length < 0 || length > m_size - content) continue;
        const QZInt64 trailing = layout::TrailingLength(content, length);
        if (Get(trailing) != length) continue;
        const QZInt64 end = layout::EndAfterBytes(layout::LastOfLength(trailing, a), a);
        if (signs + ReadEnd(record, end) >= kSignsNeeded) return true;
    }
    return false;
}

bool QZDbSource::ReadRecordAtEnd(QZInt64 end, QZDbRecordImage* record) const
{
    if (end <= layout::kMainHd || end >= m_size) return false;
    const QZInt64 address = Get(layout::DataThisFromEnd(end, m_length));
    return ReadRecord(address, record) && record->End == end;
}

QZInt64 QZDbSource::Own(const QZDbRecordImage& record, QZInt64 n) const
{
    return Get(layout::DataOwn(record.This, n, m_length));
}

bool QZDbSource::EndsAt(QZInt64 content, QZInt64 length, QZInt64 end) const
{
    if (length < 0 || length > m_size) return false;
    const QZInt64 last = layout::LastOfLength(layout::TrailingLength(content, length), m_length);
    return layout::EndAfterBytes(last, m_length) == end;
}

bool QZDbSource::Frames(const QZDbRecordImage& record, QZInt64 n) const
{
    const QZInt64 slot = layout::DataOwn(record.This, n, m_length);
    return EndsAt(layout::SlotContent(slot, m_length), Get(layout::SlotLength(slot, m_length)), record.End);
}

/// Finds the length of the content in a record that ends at `end`.
bool QZDbSource::FindLength(QZInt64 content, QZInt64 end, QZDbContentPlace* place) const
{
    const QZInt64 leading = Get(layout::ContentLength(content, m_length));
    place->Position = content;
    place->Length = leading;
    place->Whole = true;
    const bool fits = EndsAt(content, leading, end);
    const bool twice = fits && Get(layout::TrailingLength(content, leading)) == leading;
    if (twice || (fits && leading != 0))
    {
        place->Whole = twice;
        return true;
    }
    // The length after the content is at one of the places from which the record's end follows.
    const QZInt64 most = end - content;
    for (QZInt64 length = most; length > 0 && length > most - 8 * layout::kAlignment; --length)
    {
        if (!EndsAt(content, length, end) || Get(layout::TrailingLength(content, length)) != length) continue;
        // An erased content has zeros and no length in front, and keeps the length after it.
        if (leading == 0 && IsZero(content, length)) return true;
        place->Length = length;
        place->Whole = false;
        return true;
    }
    return leading == 0;
}

bool QZDbSource::IsZero(QZInt64 position, QZInt64 length) const
{
    for (QZInt64 i = 0; i < length; ++i)
        if (m_objects->Binary()->GetByte(position + i) != 0) return false;
    return true;
}

bool QZDbSource::FindContent(const QZDbRecordImage& record, QZInt64 n, QZDbContentPlace* place) const
{
    const QZInt64 slot = layout::DataOwn(record.This, n, m_length);
    const QZInt64 content = Get(slot);
    if (content == layout::SlotContent(slot, m_length)) return FindLength(content, record.End, place);
    // The content was replaced: it is in a CD of its own.
    QZDbRecordImage holder;
    if (ReadRecord(layout::CdOfContent(content, m_length), &holder) &&
        holder.Kind == QZDatabaseInfo::DATA_CD && FindLength(content, holder.End, place))
    {
        place->Whole = place->Whole && holder.Whole;
        return true;
    }
    // The content itself is whole when both lengths are the same, whatever became of the CD.
    place->Position = content;
    place->Length = Get(layout::ContentLength(content, m_length));
    place->Whole = false;
    return IsPlace(layout::CdOfContent(content, m_length)) && place->Length > 0 &&
           place->Length < m_size - content &&
           Get(layout::TrailingLength(content, place->Length)) == place->Length;
}

void QZDbSource::ReadContent(const QZDbContentPlace& place, std::vector<char>* bytes) const
{
    bytes->assign(static_cast<std::size_t>(place.Length), 0);
    if (place.Length > 0) m_objects->Binary()->GetBytes(place.Position, place.Length, bytes->data());
}
