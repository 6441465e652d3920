#ifndef QZLIB_DB_LAYOUT_H
#define QZLIB_DB_LAYOUT_H

#include "db/db_format.h"
#include "sys/sys_types.h"

/// The numbers that the format of the database file fixes: the file header, the position of every field of
/// every kind of record, and the bits of the selectors. docs/database-file.md describes the format.
///
/// `a` is the address length of the file, 4 or 8 bytes. This header is the only place that computes with it.
/// Positions come from files and may have any value, so every sum wraps around instead of overflowing.
namespace layout
{

/// Sum of a position and an offset.
constexpr QZInt64 At(QZInt64 position, QZInt64 offset)
{
    return static_cast<QZInt64>(static_cast<QZUInt64>(position) + static_cast<QZUInt64>(offset));
}

// ---- Sides and marks

/// The two sides of a record: an address names its opening mark or its closing mark.
constexpr QZInt64 kSideThis = QZDatabaseInfo::ADDRESS_MARK_THIS;
constexpr QZInt64 kSideEnd = QZDatabaseInfo::ADDRESS_MARK_END;

constexpr QZByte kMarkHd = QZDatabaseInfo::MARK_HD;
constexpr QZByte kMarkData = QZDatabaseInfo::MARK_DATA;

// ---- The file header

constexpr QZInt64 kVersion = QZDatabaseInfo::DBV_POSITION;
constexpr QZInt64 kAddressMode = QZDatabaseInfo::DBAM_POSITION;
constexpr QZInt64 kFileMode = QZDatabaseInfo::FILEMODE_POSITION;

/// The first byte after the three mode bytes.
constexpr QZInt64 kAfterModes = kFileMode + 1;

/// The length field: the position of the last byte in use. The engine keeps it here in every version.
constexpr QZInt64 kLength = QZDatabaseInfo::DBL_POSITION_V5;

constexpr QZInt64 kMainHd = QZDatabaseInfo::MAIN_HD_ADDR_V5;

/// The length field of a file without records: the last byte before the main HD.
constexpr QZInt64 kEmptyLength = kMainHd - 1;

/// No record of any version starts before this position.
constexpr QZInt64 kFirstRecord = QZDatabaseInfo::MAIN_HD_ADDR_V4;

/// The number of trees, one AD each in the list of the main HD.
constexpr int kTrees = QZDatabaseInfo::TREEBSN;

/// The three ADs in the list of tree TREEB that make up the rollback log.
constexpr QZInt64 kLogBase = 1;
constexpr QZInt64 kLogMarks = 2;
constexpr QZInt64 kLogWritePosition = 3;

/// The bytes of an address in an address mode.
constexpr QZInt64 AddressLength(QZInt64 mode) { return mode == QZDatabaseInfo::ADDR_MODE_64 ? 8 : 4; }

/// The largest address of an address mode.
constexpr QZInt64 LargestAddress(QZInt64 mode)
{
    return mode == QZDatabaseInfo::ADDR_MODE_64 ? 0x7FFFFFFFFFFFFFFF : 0xFFFFFFFF;
}

// ---- The places of new records

/// Records start one byte before a boundary of this many bytes.
constexpr QZInt64 kAlignment = 16;

/// The first boundary that leaves room for an opening mark after the byte at `last`.
constexpr QZInt64 BoundaryAfter(QZInt64 last) { return At(last, kAlignment + 1) / kAlignment * kAlignment; }

/// THIS of a new record in a file whose last byte in use is `last`.
constexpr QZInt64 NewRecord(QZInt64 last) { return At(BoundaryAfter(last), -1); }

/// END of a record whose framed bytes end at `last`.
constexpr QZInt64 EndAfterBytes(QZInt64 last, QZInt64 a) { return At(BoundaryAfter(last), 2 * a); }

static_assert(NewRecord(kEmptyLength) == kMainHd);

// ---- HD, from its THIS

constexpr QZInt64 HdPrev(QZInt64 hd) { return At(hd, 1); }
constexpr QZInt64 HdFirst(QZInt64 hd, QZInt64 a) { return At(hd, 1 + a); }
constexpr QZInt64 HdEnd(QZInt64 hd, QZInt64 a) { return At(hd, 1 + 2 * a); }
constexpr QZInt64 HdThis(QZInt64 hd, QZInt64 a) { return At(hd, 1 + 3 * a); }

/// The closing mark of the empty list.
constexpr QZInt64 HdEmptyEnd(QZInt64 hd, QZInt64 a) { return At(hd, 1 + 4 * a); }

/// Where a reset also looks for that mark. No file of version 5 has it there.
constexpr QZInt64 HdEmptyEndLater(QZInt64 hd, QZInt64 a) { return At(hd, 1 + 5 * a); }

/// The size of an HD in bytes.
constexpr QZInt64 HdSize(QZInt64 a) { return HdEmptyEnd(0, a) + 1; }

// ---- HD, from the closing mark that HD_END holds

constexpr QZInt64 HdThisFromEnd(QZInt64 end, QZInt64 a) { return At(end, -a); }

/// END of the last record, in a list that is not empty.
constexpr QZInt64 HdLastEnd(QZInt64 end, QZInt64 a) { return At(end, -2 * a); }

/// The field that holds THIS of the last record, in a list that is not empty.
constexpr QZInt64 HdLastThis(QZInt64 end, QZInt64 a) { return At(end, -4 * a); }

// ---- The frame of data records, from THIS

constexpr QZInt64 DataPrev(QZInt64 record) { return At(record, 1); }
constexpr QZInt64 DataThis(QZInt64 record, QZInt64 a) { return At(record, 1 + a); }
constexpr QZInt64 DataEnd(QZInt64 record, QZInt64 a) { return At(record, 1 + 2 * a); }

/// The n-th field of the record's kind, from 0.
constexpr QZInt64 DataOwn(QZInt64 record, QZInt64 n, QZInt64 a) { return At(record, 1 + (3 + n) * a); }

// ---- The frame of data records, from END

constexpr QZInt64 DataThisFromEnd(QZInt64 end, QZInt64 a) { return At(end, -2 * a); }
constexpr QZInt64 DataNextFromEnd(QZInt64 end, QZInt64 a) { return At(end, -a); }
constexpr QZInt64 DataHeadFromEnd(QZInt64 end, QZInt64 a) { return At(end, a); }

/// The closing mark of the list when the record is its last: what HD_END then holds.
constexpr QZInt64 HdEndFromData(QZInt64 end, QZInt64 a) { return At(end, 2 * a); }

// ---- The fields of the kinds: numbers for DataOwn, and END of the kinds of fixed length

constexpr QZInt64 kAdFree = 0;

constexpr QZInt64 kRdPosition = 0;
constexpr QZInt64 kRdOld = 1;
constexpr QZInt64 kRdNew = 2;

constexpr QZInt64 kLdFields = 0;
constexpr QZInt64 kLdTreeA = 1;
constexpr QZInt64 kLdTreeR = 2;
constexpr QZInt64 kLdTreeS = 3;
constexpr QZInt64 kLdLists = 4;

constexpr QZInt64 kPdLd = 0;
constexpr QZInt64 kPdHd = 1;

/// END of a data record with `n` fields of one address.
constexpr QZInt64 FixedEnd(QZInt64 record, QZInt64 n, QZInt64 a) { return At(record, 1 + (5 + n) * a); }

constexpr QZInt64 AdEnd(QZInt64 ad, QZInt64 a) { return FixedEnd(ad, 1, a); }
constexpr QZInt64 RdEnd(QZInt64 rd, QZInt64 a) { return FixedEnd(rd, 3, a); }
constexpr QZInt64 LdEnd(QZInt64 ld, QZInt64 a) { return FixedEnd(ld, kLdLists, a); }

/// A list of an LD, counted back from its END.
constexpr QZInt64 LdListFromEnd(QZInt64 end, QZInt64 list, QZInt64 a)
{
    return At(end, -(2 + kLdLists - list) * a);
}

/// The slots of a CD and of a PD.
constexpr QZInt64 CdSlot(QZInt64 cd, QZInt64 a) { return DataOwn(cd, 0, a); }
constexpr QZInt64 PdSlot(QZInt64 pd, QZInt64 a) { return DataOwn(pd, 2, a); }

static_assert(LdListFromEnd(LdEnd(kMainHd, 8), kLdFields, 8) == DataOwn(kMainHd, kLdFields, 8));
static_assert(LdListFromEnd(LdEnd(kMainHd, 4), kLdTreeS, 4) == DataOwn(kMainHd, kLdTreeS, 4));
static_assert(DataThisFromEnd(AdEnd(kMainHd, 8), 8) == DataOwn(kMainHd, kAdFree + 1, 8));

// ---- Framed bytes, from the slot and from the first byte of the content

constexpr QZInt64 SlotLength(QZInt64 slot, QZInt64 a) { return At(slot, a); }
constexpr QZInt64 SlotContent(QZInt64 slot, QZInt64 a) { return At(slot, 2 * a); }
constexpr QZInt64 ContentLength(QZInt64 content, QZInt64 a) { return At(content, -a); }

/// The size of an erased range: the leading length and `size` bytes of content.
constexpr QZInt64 LengthAndContent(QZInt64 size, QZInt64 a) { return At(size, a); }

/// The length after the content, and the last byte of that length.
constexpr QZInt64 TrailingLength(QZInt64 content, QZInt64 size) { return At(content, size); }
constexpr QZInt64 LastOfLength(QZInt64 position, QZInt64 a) { return At(position, a - 1); }

/// The first byte of the content that a CD holds itself, and the CD that holds a content.
constexpr QZInt64 CdContent(QZInt64 cd, QZInt64 a) { return SlotContent(CdSlot(cd, a), a); }
constexpr QZInt64 CdOfContent(QZInt64 content, QZInt64 a) { return At(content, -CdContent(0, a)); }

static_assert(CdOfContent(CdContent(kMainHd, 4), 4) == kMainHd);

// ---- Selectors

/// The bits of a selector that name the kind of data record, and those that number the field in it.
constexpr QZInt64 kSelectorKind = 0xFF00;
constexpr QZInt64 kSelectorField = 0xFF;

/// Set in the selectors of fields that only some kinds have.
constexpr QZInt64 kSelectorOwn = 0xF0;

/// The class of a selector or type code: TYPE_TABLE or TYPE_DATA.
constexpr QZInt64 SelectorClass(QZInt64 selector) { return selector >> 16 << 16; }

/// The type code of the kind that a selector belongs to.
constexpr QZInt64 SelectorType(QZInt64 selector) { return selector & ~kSelectorField; }

static_assert(SelectorClass(QZDatabaseInfo::PD_LD_A) == QZDatabaseInfo::TYPE_DATA);
static_assert(SelectorType(QZDatabaseInfo::PD_LD_A) == QZDatabaseInfo::DATA_PD);

/// Recorded by the engine for marks that belong to no list and for an HD selector that does not exist.
constexpr QZInt64 kBareError = 256;

}  // namespace layout

#endif
