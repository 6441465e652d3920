#include "scan.h"

namespace qzdb
{

namespace
{

QZInt64* Counter(Scan& scan, QZInt64 kind)
{
    switch (kind)
    {
        case QZDatabaseInfo::TABLE_HD: return &scan.hd;
        case QZDatabaseInfo::DATA_LD: return &scan.ld;
        case QZDatabaseInfo::DATA_PD: return &scan.pd;
        case QZDatabaseInfo::DATA_AD: return &scan.ad;
        case QZDatabaseInfo::DATA_CD: return &scan.cd;
        case QZDatabaseInfo::DATA_RD: return &scan.rd;
        default: return nullptr;
    }
}

}  // namespace

Scan ScanRecords(Database& database)
{
    const QZInt64 width = database.GetHeader().addressLength;
    // The length field of a damaged file may name a position after the end of the file.
    QZInt64 last = database.GetHeader().length;
    if (last >= database.GetHeader().fileSize) last = database.GetHeader().fileSize - 1;

    Scan scan;
    bool inGap = false;
    QZInt64 address = QZDatabaseInfo::MAIN_HD_ADDR_V5;
    while (address <= last)
    {
        const QZInt64 kind = database.Kind(address);
        QZInt64* counter = Counter(scan, kind);
        QZInt64 end = address + 4 * width + 1;
        if (counter && kind != QZDatabaseInfo::TABLE_HD)
            end = database.Field(address, QZDatabaseInfo::DATA_END) + 2 * width;
        // A record whose end lies before its begin, or after the last byte in use, is no record.
        if (!counter || end <= address || end > last)
        {
            if (!inGap) scan.gaps.push_back(address);
            inGap = true;
            address += 16;
            continue;
        }
        inGap = false;
        ++*counter;
        scan.end = end;
        address = (end + 17) / 16 * 16 - 1;
    }
    return scan;
}

}  // namespace qzdb
