/// The operations of a database that read and change nothing.

#include "db/db_database.h"
#include "db/db_format.h"
#include "db/internal/db_console.h"
#include "db/internal/db_objects.h"
#include "db/internal/db_operation.h"
#include "db/internal/db_read.h"
#include "db/internal/db_repair.h"
#include "db/internal/db_rollback.h"
#include "fw/fw_collection.h"
#include "fw/internal/fw_raise.h"

using layout::kSideThis;

QZInt64 QZDatabase::G_TA(QZInt64 n)
{
    Operation operation(this);
    const QZInt64 answer = m_objects->Read()->TreeRoot(layout::kMainHd, n);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::G_A(QZInt64 address, QZInt64 selector)
{
    Operation operation(this);
    if (Testing() && !CheckObject(kSideThis, address, selector))
    {
        // The only operation that throws. Without UnlockOnRaise it throws with the section
        // entered, and the same thread can go on.
        QZRaise(QZDatabaseFailure(QZDatabaseInfo::BAD_STRUCT), QZ_W("QZDatabase"), QZ_W("G_A"))
            .Argument(QZ_W("QZInt64"), address)
            .Argument(QZ_W("QZInt64"), selector)
            .Throw();
    }
    const QZInt64 answer = ReadField(address, selector);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::ReadField(QZInt64 address, QZInt64 selector)
{
    READ* read = m_objects->Read();
    const QZInt64 family = layout::SelectorClass(selector);
    if (family == QZDatabaseInfo::TYPE_TABLE)
    {
        if (ISTABLEOBJ(selector) && (!Testing() || Is(address, QZDatabaseInfo::TABLE_HD)))
        {
            return read->ReadHD(kSideThis, address, selector);
        }
    }
    else if (family == QZDatabaseInfo::TYPE_DATA)
    {
        if (ISDATAOBJ(selector) || ISCDOBJ(selector)) return read->ReadData(kSideThis, address, selector);
        if (ISLDOBJ(selector)) return read->ReadLD(kSideThis, address, selector);
        if (ISPDOBJ(selector)) return read->ReadPD(kSideThis, address, selector);
        if (ISADOBJ(selector)) return read->ReadAD(kSideThis, address, selector);
        if (ISRDOBJ(selector)) return read->ReadRD(kSideThis, address, selector);
    }
    Record(QZDatabaseInfo::BAD_STRUCT);
    return -1;
}

QZInt64 QZDatabase::G_HD_A(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    Operation operation(this);
    const QZInt64 answer = m_objects->Read()->ReadHD(side, address, selector);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::G_T(QZInt64 side, QZInt64 address)
{
    Operation operation(this);
    const QZInt64 answer = m_objects->Repair()->TypeOf(side, address);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::G_CN(QZInt64 address, QZInt64 code, QZInt64 argument)
{
    Operation operation(this);
    const QZInt64 answer = CountOrNumber(address, code, argument);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::CountOrNumber(QZInt64 address, QZInt64 code, QZInt64 argument)
{
    READ* read = m_objects->Read();
    const bool testing = Testing();
    switch (code)
    {
        case QZDatabaseInfo::HD_NODE_COUNT:
            if (testing && !Fits(Is(address, QZDatabaseInfo::TABLE_HD))) return -1;
            return read->Count(address);
        case QZDatabaseInfo::HD_NODE_COUNT_ALL:
            if (testing && !Fits(Is(address, QZDatabaseInfo::TABLE_HD))) return -1;
            return CountAll(address);
        case QZDatabaseInfo::HD_NODE_SN:
            if (testing && !Fits(CheckObject(kSideThis, address, QZDatabaseInfo::DATA_UNKNOWN))) return -1;
            return read->Position(address);
        case QZDatabaseInfo::SN_GET_DATA_FROM_HD:
            if (testing && !Fits(Is(address, QZDatabaseInfo::TABLE_HD))) return -1;
            return NthRecord(address, argument);
        case QZDatabaseInfo::LD_LDS_COUNT:
        {
            if (testing && !Fits(Is(address, QZDatabaseInfo::DATA_LD))) return -1;
            const QZInt64 fields = read->ReadLD(kSideThis, address, QZDatabaseInfo::LD_LDS);
            return fields == 0 ? 0 : read->Count(fields);
        }
        default: return -1;
    }
}

QZInt64 QZDatabase::CountAll(QZInt64 hd)
{
    QZCollection gathered;
    QZDbGatherPDs(m_objects->Read(), hd, &gathered);
    return gathered.Count();
}

/// The n-th record. The result is tested whether argument tests are on or off, so a number past the end
/// returns 0 and records BAD_STRUCT.
QZInt64 QZDatabase::NthRecord(QZInt64 hd, QZInt64 n)
{
    const QZInt64 record = m_objects->Read()->Nth(hd, n, QZDatabaseInfo::DATA_THIS);
    Fits(CheckObject(kSideThis, record, QZDatabaseInfo::DATA_UNKNOWN));
    return record;
}

QZInt64 QZDatabase::G_AL(QZInt64 code, QZInt64 address, QZCollection* collection)
{
    if (collection == nullptr) return 0;
    Operation operation(this);
    const QZInt64 answer = ListAddresses(code, address, collection);
    operation.Leave();
    return answer;
}

/// Returns -1 for the lists, whether they were filled or not. The result is in the collection.
QZInt64 QZDatabase::ListAddresses(QZInt64 code, QZInt64 address, QZCollection* collection)
{
    ROLLBACK* rollback = m_objects->Rollback();
    switch (code)
    {
        case QZDatabaseInfo::ADDRESSARRAYCOPY_ALL_PD_FROM_HD:
            if (Is(address, QZDatabaseInfo::TABLE_HD))
                QZDbGatherPDs(m_objects->Read(), address, collection);
            else
                Record(QZDatabaseInfo::BAD_PARAMETER);
            return -1;
        case QZDatabaseInfo::ADDRESSARRAYCOPY_PD_FROM_HD:
            if (!Testing() || Is(address, QZDatabaseInfo::TABLE_HD))
            {
                QZDbCollectRecords(m_objects->Read(), address, collection);
            }
            return -1;
        case QZDatabaseInfo::ADDRESSARRAYCOPY_SHNAPSHOTS:
        case QZDatabaseInfo::ADDRESSARRAYCOPY_ROLLBACKMARKS:
            if (!rollback->IsOn())
            {
                Record(QZDatabaseInfo::ROLLBACK_ERROR_ROLLBACKOFF);
                return -1;
            }
            if (code == QZDatabaseInfo::ADDRESSARRAYCOPY_SHNAPSHOTS)
            {
                rollback->CollectSnapshots(collection);
                return -1;
            }
            rollback->CollectMarks(collection, address);
            return rollback->CountSnapshots() * 8 + 8;
        default: Record(QZDatabaseInfo::BAD_PARAMETER); return -1;
    }
}

QZInt64 QZDatabase::A_G(QZInt64 hd, QZInt64 selector, const void* buffer, QZInt64 length,
                        QZCollection* collection)
{
    // The engine has no search by value. The result is always empty.
    (void)selector;
    (void)buffer;
    (void)length;
    (void)collection;
    Operation operation(this);
    const bool fits = !Testing() || Fits(Is(hd, QZDatabaseInfo::TABLE_HD));
    operation.Leave();
    return fits ? 0 : -1;
}

QZInt64 QZDatabase::CK(QZInt64 side, QZInt64 address)
{
    Operation operation(this);
    const QZInt64 answer = StructCheck(side, address);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::StructCheck(QZInt64 side, QZInt64 address)
{
    REPAIR* repair = m_objects->Repair();
    switch (repair->TypeOf(side, address))
    {
        case QZDatabaseInfo::TABLE_HD: return repair->CheckHD(side, address);
        case QZDatabaseInfo::DATA_LD: return repair->CheckLD(side, address);
        case QZDatabaseInfo::DATA_PD: return repair->CheckPD(side, address);
        case QZDatabaseInfo::DATA_AD: return repair->CheckAD(side, address);
        case QZDatabaseInfo::DATA_CD: return repair->CheckCD(side, address);
        // An intact log record gives UNKNOWN too.
        default: return QZDatabaseInfo::UNKNOWN;
    }
}
