#ifndef QZLIB_APPS_QZDB_CHECK_H
#define QZLIB_APPS_QZDB_CHECK_H

#include "database.h"

namespace qzdb
{

/// Checks every record that can be reached, prints a line for each fault and for each gap, and returns the
/// number of faults.
QZInt64 CountFaults(Database& database, std::FILE* out);

}  // namespace qzdb

#endif
