#ifndef QZLIB_APPS_QZDB_SCAN_H
#define QZLIB_APPS_QZDB_SCAN_H

#include <vector>

#include "database.h"

namespace qzdb
{

/// The records of the file from its begin to its end, whether a list holds them or not.
struct Scan
{
    QZInt64 hd = 0;
    QZInt64 ld = 0;
    QZInt64 pd = 0;
    QZInt64 ad = 0;
    QZInt64 cd = 0;
    QZInt64 rd = 0;
    /// The begin of each stretch without a record.
    std::vector<QZInt64> gaps;
    /// Position of the last byte of the last record.
    QZInt64 end = 0;

    QZInt64 Total() const { return hd + ld + pd + ad + cd + rd; }
};

/// Reads the file record by record. Each record begins where the one before it ends.
Scan ScanRecords(Database& database);

}  // namespace qzdb

#endif
