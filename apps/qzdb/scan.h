#ifndef QZLIB_APPS_QZDB_SCAN_H
#define QZLIB_APPS_QZDB_SCAN_H

#include <vector>

#include "database.h"

namespace qzdb
{

/// What lies in the file from front to back, whether a list holds it or not.
struct Scan
{
    QZInt64 hd = 0;
    QZInt64 ld = 0;
    QZInt64 pd = 0;
    QZInt64 ad = 0;
    QZInt64 cd = 0;
    QZInt64 rd = 0;
    /// Where a stretch begins in which no record can be found.
    std::vector<QZInt64> gaps;
    /// Position of the last byte of the last record.
    QZInt64 end = 0;

    QZInt64 Total() const { return hd + ld + pd + ad + cd + rd; }
};

/// Goes through the file record by record: each one stands right behind the one before it.
Scan ScanRecords(Database& database);

}  // namespace qzdb

#endif
